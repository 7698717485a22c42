#include "host/platform/sharedlibrary.h"

#include <windows.h>

#include <cwchar>
#include <string>

#include "host/platform/windows/systemmessage.h"
#include "host/text.h"

namespace kelhost {

namespace {

[[noreturn]] void throwLoaderError(const std::filesystem::path& library, const std::string& what) {
    const DWORD code = GetLastError();  // before anything else asks the system
    throw std::runtime_error(utf8Of(library) + ": " + what + platform::systemMessage(code));
}

}  // namespace

void* loadSymbol(const std::filesystem::path& library, const char* symbol) {
    // A bare name would be searched along the system's library path; a path is what the caller means. Given
    // in full, the library's own folder is searched for those that it needs.
    std::error_code unknown;
    std::filesystem::path file = std::filesystem::absolute(library, unknown);
    if (unknown) file = library;
    file.make_preferred();
    const HMODULE module = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) throwLoaderError(library, "");
    const FARPROC address = GetProcAddress(module, symbol);
    if (address == nullptr) throwLoaderError(library, std::string(symbol) + ": ");
    return reinterpret_cast<void*>(address);
}

bool isLibraryName(const std::filesystem::path& file) {
    return _wcsicmp(file.extension().c_str(), L".dll") == 0;
}

}  // namespace kelhost
