#include "tools/kelxml/platform/files.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace kelxml {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void throwSystemError(int error, const fs::path& path) {
    throw std::system_error(error, std::generic_category(), path.string());
}

void syncToDisk(const fs::path& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) throwSystemError(errno, path);
    const int error = ::fsync(file) == 0 ? 0 : errno;
    ::close(file);
    // A file system that cannot sync (EINVAL) leaves nothing to wait for.
    if (error != 0 && error != EINVAL) throwSystemError(error, path);
}

}  // namespace

bool createFile(const fs::path& path, Access access) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                            access == Access::Private ? 0600 : 0666);
    if (file >= 0) {
        ::close(file);
        return true;
    }
    const int error = errno;
    if (error != EEXIST) throwSystemError(error, path.parent_path());
    return false;
}

void removeFile(const fs::path& path) noexcept {
    (void)::unlink(path.c_str());
}

void settleFile(const fs::path& file, const fs::path& target) {
    std::error_code absent;
    const fs::file_status old = fs::status(target, absent);
    if (!absent && fs::exists(old)) fs::permissions(file, old.permissions());
    syncToDisk(file);
}

void replaceFile(const fs::path& target, const fs::path& file) {
    fs::rename(file, target);
}

bool isTerminal(std::FILE* stream) noexcept {
    return ::isatty(::fileno(stream)) == 1;
}

bool isDumbTerminal() noexcept {
    const char* kind = std::getenv("TERM");
    return kind != nullptr && std::strcmp(kind, "dumb") == 0;
}

void speakUsersLanguage() noexcept {
    std::setlocale(LC_MESSAGES, "");
    std::setlocale(LC_CTYPE, "");  // the encoding of these messages
}

void ignoreClosedPipes() noexcept {
    std::signal(SIGPIPE, SIG_IGN);
}

fs::path programFolder() {
    std::error_code unknown;
    const fs::path program = fs::read_symlink("/proc/self/exe", unknown);
    return unknown ? fs::path() : program.parent_path();
}

}  // namespace kelxml
