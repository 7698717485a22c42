#include "engine/source/bytesource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "engine/text/worded.h"

namespace engine::source {
namespace {

using text::worded;

// Our own words: the system's follow the user's language.
std::string describe(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return worded("no such file");
        case EACCES:
        case EPERM:
            return worded("permission denied");
        case EISDIR:
            return worded("it is a directory");
        case EMFILE:
        case ENFILE:
            return worded("too many files are open");
        case EIO:
            return worded("the device reports an error");
        default:
            return worded("system error %1", std::to_string(error));
    }
}

}  // namespace

ByteSource::~ByteSource() {
    if (file_ >= 0) ::close(file_);
}

Fault ByteSource::systemFault(ErrorCode code, int error) const {
    return {code, kNoOffset, worded("The file '%1' cannot be read: %2.", input_.path(), describe(error))};
}

Fault ByteSource::open() {
    if (input_.kind() == Input::Kind::Rejected) {
        return {ErrorCode::AddressRejected, kNoOffset,
                worded("The address '%1' is rejected: only files can be read.", input_.path())};
    }
    if (input_.kind() != Input::Kind::File) return {};
    if (input_.path().find('\0') != std::string::npos) return systemFault(ErrorCode::CannotOpen, ENOENT);
    do file_ = ::open(input_.path().c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    while (file_ < 0 && errno == EINTR);
    return file_ < 0 ? systemFault(ErrorCode::CannotOpen, errno) : Fault{};
}

std::uint64_t ByteSource::expectedBytes() noexcept {
    if (file_ < 0) return input_.bytes().size();
    struct stat status {};
    const bool isKnown = ::fstat(file_, &status) == 0 && S_ISREG(status.st_mode);
    expected_ = isKnown ? static_cast<std::uint64_t>(status.st_size) : 0;
    return expected_;
}

std::size_t ByteSource::readStream(char* to, std::size_t count) {
    ByteStream& stream = *input_.stream();
    std::size_t given = 0;
    while (given != count) {
        const std::size_t now = std::min(stream.read(to + given, count - given), count - given);
        if (now == 0) break;
        given += now;
    }
    if (stream.hasFailed()) fault_ = {ErrorCode::CannotRead, kNoOffset, worded("The stream cannot be read.")};
    return given;
}

std::size_t ByteSource::read(char* to, std::size_t count) {
    if (input_.stream() != nullptr) return readStream(to, count);
    if (file_ < 0) {
        const std::string_view rest = input_.bytes().substr(static_cast<std::size_t>(position_));
        const std::size_t given = std::min(count, rest.size());
        if (given != 0) std::memcpy(to, rest.data(), given);
        position_ += given;
        return given;
    }
    std::size_t given = 0;
    while (given != count && !fault_) {
        const ssize_t now = ::read(file_, to + given, count - given);
        if (now > 0) {
            given += static_cast<std::size_t>(now);
            position_ += static_cast<std::size_t>(now);
            // Less than was asked for, and all that the file has: its end need not be asked for.
            if (position_ == expected_ && given != count) break;
        } else if (now == 0) {
            break;
        } else if (errno != EINTR) {
            fault_ = systemFault(ErrorCode::CannotRead, errno);
        }
    }
    return given;
}

}  // namespace engine::source
