// The start of the program, before anything is read or written.
#pragma once

#include <string>
#include <vector>

namespace kelxml {

// Makes the standard streams carry bytes as they are, and gives the command line as UTF-8, the program's own
// name first.
[[nodiscard]] std::vector<std::string> startUp(int argc, const char* const* argv);

}  // namespace kelxml
