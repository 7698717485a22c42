// Which shared libraries the running program has loaded.
#pragma once

#include <filesystem>
#include <vector>

namespace kelxml {

// With symbolic links resolved, for the version often stands in the name of the file only. Empty where the
// system does not report it.
[[nodiscard]] std::vector<std::filesystem::path> loadedLibraries();

}  // namespace kelxml
