#pragma once

#include <string>

namespace kelxml {

// To standard output: this program, the component (an empty path means the one that belongs here) and the
// libraries that came with it. A component that cannot be loaded is told as such. Throws like Output.
void showVersions(const std::string& component);

}  // namespace kelxml
