// The platform's own folders for files, by the names that host/directoryservice.h lists.
// Threads: any, while no thread changes the environment.
#pragma once

#include <string>
#include <string_view>

namespace kelhost::platform {

// UTF-8, absolute, without a separator at its end (but for a root); empty if the name or the folder is not
// known.
[[nodiscard]] std::string knownFolder(std::string_view name);

}  // namespace kelhost::platform
