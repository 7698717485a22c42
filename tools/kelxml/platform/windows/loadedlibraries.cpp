#include "tools/kelxml/platform/loadedlibraries.h"

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <array>

namespace kelxml {

std::vector<std::filesystem::path> loadedLibraries() {
    std::vector<std::filesystem::path> libraries;
    std::vector<HMODULE> modules(512);
    DWORD needed = 0;
    const auto room = static_cast<DWORD>(modules.size() * sizeof(HMODULE));
    if (K32EnumProcessModules(GetCurrentProcess(), modules.data(), room, &needed) == 0) return libraries;
    modules.resize(std::min<std::size_t>(needed / sizeof(HMODULE), modules.size()));
    for (const HMODULE module : modules) {
        std::array<wchar_t, 1024> path{};
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length > 0 && length < path.size()) libraries.emplace_back(path.data());
    }
    return libraries;
}

}  // namespace kelxml
