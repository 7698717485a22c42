#include "engine/reader/detail/byte_source.h"

#include <fcntl.h>

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
        case ENOSPC:
        case EDQUOT:
            return "there is no room to keep what comes through a pipe";
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
    if (file_ != nullptr) return startOver();
    if (input_.path().find('\0') != std::string::npos) return systemFault(ErrorCode::CannotOpen, ENOENT);
    errno = 0;
    file_.reset(
        std::fopen(input_.path().c_str(), "rbe"));  // e: not inherited by programs that the host starts
    if (file_ == nullptr) return systemFault(ErrorCode::CannotOpen, errno);
    std::setvbuf(file_.get(), nullptr, _IONBF, 0);  // our reads are large; a second buffer would only copy
    return std::fseek(file_.get(), 0, SEEK_CUR) == 0 ? Fault{} : openKept();
}

Fault ByteSource::startOver() {
    if (kept_ != nullptr || std::fseek(file_.get(), 0, SEEK_SET) == 0) return {};
    return systemFault(ErrorCode::CannotRead, errno);
}

Fault ByteSource::openKept() {
    kept_.reset(std::tmpfile());
    if (kept_ == nullptr) return systemFault(ErrorCode::CannotRead, errno);
    std::setvbuf(kept_.get(), nullptr, _IONBF, 0);
    (void)fcntl(fileno(kept_.get()), F_SETFD, FD_CLOEXEC);  // failing, it would only be inherited
    keptBytes_ = 0;
    return {};
}

std::size_t ByteSource::read(char* to, std::size_t count) {
    if (file_ == nullptr) return readBorrowed(to, count);
    if (kept_ == nullptr) return readFile(to, count);
    const std::size_t again = readKept(to, count);
    if (again == count || fault_) return again;
    const std::size_t fresh = readFile(to + again, count - again);
    keep(to + again, fresh);
    return again + fresh;
}

std::size_t ByteSource::readBorrowed(char* to, std::size_t count) noexcept {
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

std::size_t ByteSource::readFile(char* to, std::size_t count) {
    errno = 0;
    const std::size_t given = std::fread(to, 1, count, file_.get());
    if (given < count && std::ferror(file_.get()) != 0 && !fault_) {
        fault_ = systemFault(ErrorCode::CannotRead, errno);
    }
    return given;
}

std::size_t ByteSource::readKept(char* to, std::size_t count) {
    const std::size_t wanted = std::min(count, keptBytes_ - position_);
    if (wanted == 0) return 0;
    errno = 0;
    const bool isAt = fseeko(kept_.get(), static_cast<off_t>(position_), SEEK_SET) == 0;
    const std::size_t given = isAt ? std::fread(to, 1, wanted, kept_.get()) : 0;
    if (given < wanted) fault_ = systemFault(ErrorCode::CannotRead, errno);
    position_ += given;
    return given;
}

void ByteSource::keep(const char* from, std::size_t count) {
    if (count == 0) return;
    errno = 0;
    const bool isAt = fseeko(kept_.get(), static_cast<off_t>(keptBytes_), SEEK_SET) == 0;
    if ((!isAt || std::fwrite(from, 1, count, kept_.get()) < count) && !fault_) {
        fault_ = systemFault(ErrorCode::CannotRead, errno);
    }
    keptBytes_ += count;
    position_ += count;
}

}  // namespace engine::reader::detail
