#include "host/platform/sharedlibrary.h"

#include <string>
#include <string_view>
#include <system_error>

#include <dlfcn.h>

namespace kelhost {

namespace {

[[noreturn]] void throwLoaderError() {
    const char* reason = ::dlerror();
    throw std::runtime_error(reason != nullptr ? reason : "the system's loader gives no reason");
}

// What the system's loader understands: a name with a slash is a path to it, one without is searched for.
std::filesystem::path loaderName(const std::filesystem::path& library) {
    std::error_code unknown;
    const bool isSearched = !library.has_parent_path() && !std::filesystem::exists(library, unknown);
    return isSearched || library.has_parent_path() ? library : "." / library;
}

std::filesystem::path fileOf(const void* address, const std::filesystem::path& library) {
    Dl_info info{};
    return ::dladdr(address, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : library;
}

}  // namespace

LibrarySymbol loadSymbol(const std::filesystem::path& library, const char* symbol) {
    void* const handle = ::dlopen(loaderName(library).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throwLoaderError();
    void* const address = ::dlsym(handle, symbol);
    if (address == nullptr) throwLoaderError();
    return {address, library.has_parent_path() ? library : fileOf(address, library)};
}

// libshelf.so, libshelf.so.6 and libshelf.so.6.3
bool isLibraryName(const std::filesystem::path& file) {
    constexpr std::string_view kSuffix = ".so";
    const std::string name = file.filename().string();
    const std::size_t end = name.find_last_not_of(".0123456789");
    return end != std::string::npos && end >= kSuffix.size() &&
           std::string_view(name).substr(0, end + 1).ends_with(kSuffix);
}

}  // namespace kelhost
