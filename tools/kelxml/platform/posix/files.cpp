#include "tools/kelxml/platform/files.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <random>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "tools/kelxml/platform/interruption.h"

namespace kelxml {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void throwSystemError(const fs::path& path) {
    throw std::system_error(errno, std::generic_category(), path.string());
}

std::string randomName() {
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::string name = ".kelxml-";
    for (int i = 0; i < 12; ++i) name += kLetters[random() % (sizeof kLetters - 1)];
    return name;
}

void syncToDisk(const fs::path& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) throwSystemError(path);
    const int failed = ::fsync(file);
    const int error = errno;
    ::close(file);
    errno = error;
    // A file system that cannot sync (EINVAL) leaves nothing to wait for.
    if (failed != 0 && error != EINVAL) throwSystemError(path);
}

}  // namespace

TemporaryFile::TemporaryFile(const fs::path& folder, unsigned int mode) {
    const UninterruptedWork both;  // create and register
    for (;;) {
        fs::path path = folder / randomName();
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (file >= 0) {
            ::close(file);
            registerTemporaryFile(path);
            path_ = std::move(path);
            return;
        }
        if (errno != EEXIST) throwSystemError(folder);
    }
}

TemporaryFile TemporaryFile::beside(const fs::path& target) {
    return {target.has_parent_path() ? target.parent_path() : fs::path("."), 0666};
}

TemporaryFile TemporaryFile::inTemporaryFolder() {
    return inFolder(fs::temp_directory_path());
}

TemporaryFile TemporaryFile::inFolder(const fs::path& folder) {
    return {folder, 0600};
}

TemporaryFile::~TemporaryFile() {
    if (path_.empty()) return;
    const UninterruptedWork both;  // remove and forget
    std::error_code ignored;       // nothing better can be done about a file that cannot be removed
    fs::remove(path_, ignored);
    forgetTemporaryFile(path_);
}

void TemporaryFile::takePlaceOf(const fs::path& target) {
    std::error_code absent;
    const fs::file_status old = fs::status(target, absent);
    if (!absent && fs::exists(old)) fs::permissions(path_, old.permissions());
    syncToDisk(path_);
    const UninterruptedWork both;  // rename and forget
    fs::rename(path_, target);
    forgetTemporaryFile(path_);
    path_.clear();
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
