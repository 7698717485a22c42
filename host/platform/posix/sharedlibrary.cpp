#include "host/platform/sharedlibrary.h"

#include <string>
#include <string_view>

#include <dlfcn.h>

namespace kelhost {

namespace {

[[noreturn]] void throwLoaderError() {
    const char* reason = ::dlerror();
    throw std::runtime_error(reason != nullptr ? reason : "the system's loader gives no reason");
}

}  // namespace

void* loadSymbol(const std::filesystem::path& library, const char* symbol) {
    // A bare name would be searched along the system's library path; a path is what the caller means.
    const std::filesystem::path file = library.has_parent_path() ? library : "." / library;
    void* const handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throwLoaderError();
    void* const address = ::dlsym(handle, symbol);
    if (address == nullptr) throwLoaderError();
    return address;
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
