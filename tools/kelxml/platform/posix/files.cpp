#include "tools/kelxml/platform/files.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/messages.h"
#include "host/text.h"

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

std::FILE* openAs(const fs::path& path, const char* mode) noexcept {
    const char closing[] = {mode[0], 'b', 'e', '\0'};  // not for programs that are started meanwhile
    return std::fopen(path.c_str(), closing);
}

bool isNameForComponent(const std::string& name) {
    return name.find('\\') == std::string::npos && kelhost::toUtf8(kelhost::fromUtf8(name)) == name;
}

std::string withPlatformLineEnds(std::string text) {
    return text;
}

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

std::optional<UnnamedFile> UnnamedFile::in(const fs::path& folder, Access access) {
    const int file =
        ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, access == Access::Private ? 0600 : 0666);
    if (file < 0) return std::nullopt;
    UnnamedFile unnamed(file);
    std::error_code absent;
    if (!fs::exists(unnamed.path(), absent)) return std::nullopt;  // without /proc it cannot be named
    return unnamed;
}

UnnamedFile::UnnamedFile(UnnamedFile&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}

UnnamedFile::~UnnamedFile() {
    if (handle_ >= 0) ::close(handle_);
}

fs::path UnnamedFile::path() const {
    return "/proc/self/fd/" + std::to_string(handle_);
}

bool UnnamedFile::giveName(const fs::path& path) const {
    if (::linkat(AT_FDCWD, this->path().c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) return true;
    const int error = errno;
    if (error != EEXIST) throwSystemError(error, path);
    return false;
}

void settleFile(const fs::path& file, const fs::path& target) {
    struct stat old {};
    if (::stat(target.c_str(), &old) == 0) {
        // Who may not give files away keeps what is his; at least the group may be one of his.
        if (::chown(file.c_str(), old.st_uid, old.st_gid) != 0)
            (void)!::chown(file.c_str(), static_cast<uid_t>(-1), old.st_gid);
        if (::chmod(file.c_str(), old.st_mode & 07777) != 0) throwSystemError(errno, file);
    }
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

void speakUsersLanguage() {
    // English is what it speaks without a locale, and that costs nothing to load
    if (kelhost::userLanguages().empty()) return;
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
