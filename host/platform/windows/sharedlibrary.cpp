#include "host/platform/sharedlibrary.h"

#include <windows.h>

#include <cwchar>
#include <string>
#include <system_error>

#include "host/platform/windows/systemmessage.h"
#include "host/text.h"

namespace kelhost {

namespace {

[[noreturn]] void throwLoaderError(const std::filesystem::path& library, const std::string& what) {
    const DWORD code = GetLastError();  // before anything else asks the system
    throw std::runtime_error(utf8Of(library) + ": " + what + platform::systemMessage(code));
}

// Given in full, the library's own folder is searched for those that it needs. A bare name that is no file
// here is left to the system.
HMODULE loadModule(const std::filesystem::path& library) {
    std::error_code unknown;
    if (!library.has_parent_path() && !std::filesystem::exists(library, unknown))
        return LoadLibraryW(library.c_str());
    std::filesystem::path file = std::filesystem::absolute(library, unknown);
    if (unknown) file = library;
    file.make_preferred();
    return LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

std::filesystem::path fileOf(HMODULE module, const std::filesystem::path& library) {
    std::wstring name(MAX_PATH, L'\0');
    const DWORD length = GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
    if (length == 0 || length == name.size()) return library;
    name.resize(length);
    return name;
}

}  // namespace

LibrarySymbol loadSymbol(const std::filesystem::path& library, const char* symbol) {
    const HMODULE module = loadModule(library);
    if (module == nullptr) throwLoaderError(library, "");
    const FARPROC address = GetProcAddress(module, symbol);
    if (address == nullptr) throwLoaderError(library, std::string(symbol) + ": ");
    return {reinterpret_cast<void*>(address), library.has_parent_path() ? library : fileOf(module, library)};
}

bool isLibraryName(const std::filesystem::path& file) {
    return _wcsicmp(file.extension().c_str(), L".dll") == 0;
}

}  // namespace kelhost
