// Component libraries, loaded at run time.
// Threads: as the system's loader allows, which is: any.
#pragma once

#include <filesystem>
#include <stdexcept>

namespace kelhost {

// What a library exports, and the file that the library came from.
struct LibrarySymbol {
    void* address;
    std::filesystem::path file;
};

// Loads the library and looks up what it exports under `symbol`. A bare name that no file in the current
// folder has is looked for where the system looks for libraries. The library stays loaded until the process
// ends: its objects may be anywhere by then. Throws std::runtime_error with the system's own reason.
[[nodiscard]] LibrarySymbol loadSymbol(const std::filesystem::path& library, const char* symbol);

// Whether a file of this name is a library by the platform's custom.
[[nodiscard]] bool isLibraryName(const std::filesystem::path& file);

}  // namespace kelhost
