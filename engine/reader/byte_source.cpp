#include "engine/reader/detail/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

namespace engine::reader::detail {
namespace {

// Our own words: the system's follow the user's language.
std::string describe(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return "there is no such file";
        case EACCES:
        case EPERM:
            return "there is no right to read it";
        case EISDIR:
            return "it is a directory";
        case EMFILE:
        case ENFILE:
            return "too many files are open";
        case EIO:
            return "the device reports an error";
        default:
            return "system error " + std::to_string(error);
    }
}

}  // namespace

Fault ByteSource::systemFault(ErrorCode code, int error) const {
    return {code, kNoOffset, "The file '" + input_.path() + "' cannot be read: " + describe(error) + "."};
}

Fault ByteSource::open() {
    position_ = 0;
    fault_ = {};
    if (input_.kind() == Input::Kind::Refused) {
        return {ErrorCode::AddressRefused, kNoOffset,
                "The address '" + input_.path() + "' is refused: only files can be read."};
    }
    if (input_.kind() != Input::Kind::File) return {};
    if (file_ != nullptr) {
        if (std::fseek(file_.get(), 0, SEEK_SET) == 0) return {};
        return systemFault(ErrorCode::CannotRead, errno);
    }
    if (input_.path().find('\0') != std::string::npos) return systemFault(ErrorCode::CannotOpen, ENOENT);
    errno = 0;
    file_.reset(
        std::fopen(input_.path().c_str(), "rbe"));  // e: not inherited by programs that the host starts
    if (file_ == nullptr) return systemFault(ErrorCode::CannotOpen, errno);
    std::setvbuf(file_.get(), nullptr, _IONBF, 0);  // our reads are large; a second buffer would only copy
    rewindable_ = std::fseek(file_.get(), 0, SEEK_CUR) == 0;
    return {};
}

std::size_t ByteSource::read(char* to, std::size_t count) {
    if (file_ == nullptr) {
        const std::u16string_view text = input_.text();
        const std::string_view all =
            input_.kind() == Input::Kind::Text
                ? std::string_view(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t))
                : input_.bytes();
        const std::size_t given = std::min(count, all.size() - position_);
        if (given != 0) std::memcpy(to, all.data() + position_, given);
        position_ += given;
        return given;
    }
    errno = 0;
    const std::size_t given = std::fread(to, 1, count, file_.get());
    if (given < count && std::ferror(file_.get()) != 0 && !fault_) {
        fault_ = systemFault(ErrorCode::CannotRead, errno);
    }
    return given;
}

}  // namespace engine::reader::detail
