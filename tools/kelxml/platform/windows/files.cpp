#include "tools/kelxml/platform/files.h"

#include <io.h>
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <system_error>
#include <utility>

#include "host/text.h"
#include "tools/kelxml/platform/interruption.h"

namespace kelxml {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void throwSystemError(const fs::path& path) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), kelhost::utf8Of(path));
}

std::string randomName() {
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::string name = ".kelxml-";
    for (int i = 0; i < 12; ++i) name += kLetters[random() % (sizeof kLetters - 1)];
    return name;
}

void syncToDisk(const fs::path& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) throwSystemError(path);
    const bool isDone = FlushFileBuffers(file) != 0;
    const DWORD error = GetLastError();
    (void)CloseHandle(file);
    SetLastError(error);
    if (!isDone) throwSystemError(path);
}

}  // namespace

// `mode` has no counterpart: a file inherits who may use it from its folder, and the temporary folder is the
// user's own.
TemporaryFile::TemporaryFile(const fs::path& folder, unsigned int /*mode*/) {
    const UninterruptedWork both;  // create and register
    for (;;) {
        fs::path path = folder / randomName();
        const HANDLE file =
            CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE) {
            (void)CloseHandle(file);
            registerTemporaryFile(path);
            path_ = std::move(path);
            return;
        }
        if (GetLastError() != ERROR_FILE_EXISTS) throwSystemError(folder);
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
    const UninterruptedWork both;      // remove and forget
    (void)DeleteFileW(path_.c_str());  // nothing better can be done about a file that cannot be removed
    forgetTemporaryFile(path_);
}

void TemporaryFile::takePlaceOf(const fs::path& target) {
    syncToDisk(path_);
    const UninterruptedWork both;  // rename and forget
    // A file that is replaced hands on who may use it; one that is not there cannot be.
    const bool isReplaced = ReplaceFileW(target.c_str(), path_.c_str(), nullptr, 0, nullptr, nullptr) != 0;
    if (!isReplaced &&
        MoveFileExW(path_.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
        throwSystemError(target);
    }
    forgetTemporaryFile(path_);
    path_.clear();
}

bool isTerminal(std::FILE* stream) noexcept {
    DWORD mode = 0;
    const std::intptr_t handle = _get_osfhandle(_fileno(stream));
    return GetConsoleMode(reinterpret_cast<HANDLE>(handle), &mode) != 0;
}

// A console knows control sequences once it is asked to.
bool isDumbTerminal() noexcept {
    const char* kind = std::getenv("TERM");
    if (kind != nullptr && std::strcmp(kind, "dumb") == 0) return true;
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode) == 0) return false;  // no console: some other terminal
    return SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) == 0;
}

void speakUsersLanguage() noexcept {}  // this system needs not be told

void ignoreClosedPipes() noexcept {}  // they are errors of the write already

fs::path programFolder() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) return {};
        if (length < path.size()) return fs::path(path.substr(0, length)).parent_path();
        path.resize(2 * path.size());  // cut off
    }
}

}  // namespace kelxml
