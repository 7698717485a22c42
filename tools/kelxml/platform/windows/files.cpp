#include "tools/kelxml/platform/files.h"

#include <io.h>
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <system_error>

#include "host/text.h"

namespace kelxml {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void throwSystemError(DWORD error, const fs::path& path) {
    throw std::system_error(static_cast<int>(error), std::system_category(), kelhost::utf8Of(path));
}

void syncToDisk(const fs::path& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) throwSystemError(GetLastError(), path);
    const DWORD error = FlushFileBuffers(file) != 0 ? ERROR_SUCCESS : GetLastError();
    (void)CloseHandle(file);
    if (error != ERROR_SUCCESS) throwSystemError(error, path);
}

}  // namespace

std::FILE* openAs(const fs::path& path, const char* mode) noexcept {
    return _wfopen(path.c_str(), *mode == 'r' ? L"rb" : L"wb");
}

bool isNameForComponent(const std::string& /*name*/) {
    return true;
}

std::string withPlatformLineEnds(std::string text) {
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
        text.insert(at, 1, '\r');
    return text;
}

std::optional<UnnamedFile> UnnamedFile::in(const fs::path& /*folder*/, Access /*access*/) {
    return std::nullopt;
}

UnnamedFile::UnnamedFile(UnnamedFile&& other) noexcept : handle_(other.handle_) {}

UnnamedFile::~UnnamedFile() = default;

fs::path UnnamedFile::path() const {
    return {};
}

bool UnnamedFile::giveName(const fs::path& path) const {
    throwSystemError(ERROR_NOT_SUPPORTED, path);
}

// Who may use a file is inherited from its folder here, and the temporary folder is the user's own.
bool createFile(const fs::path& path, Access /*access*/) {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        (void)CloseHandle(file);
        return true;
    }
    const DWORD error = GetLastError();
    if (error != ERROR_FILE_EXISTS) throwSystemError(error, path.parent_path());
    return false;
}

void removeFile(const fs::path& path) noexcept {
    (void)DeleteFileW(path.c_str());
}

// The permissions come along when a file is replaced.
void settleFile(const fs::path& file, const fs::path& /*target*/) {
    syncToDisk(file);
}

void replaceFile(const fs::path& target, const fs::path& file) {
    // A file that is replaced hands on who may use it; one that is not there cannot be.
    const bool isReplaced = ReplaceFileW(target.c_str(), file.c_str(), nullptr, 0, nullptr, nullptr) != 0;
    if (!isReplaced &&
        MoveFileExW(file.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0)
        throwSystemError(GetLastError(), target);
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

void speakUsersLanguage() {}  // this system knows it

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
