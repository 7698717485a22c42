// Texts that are made from the description of the command line: help, the manual page in the mdoc language,
// and completion scripts for shells, each of which needs nothing but its shell. Threads: no shared state.
#pragma once

#include <string>

#include "tools/kelxml/cli/program.h"

namespace kelxml {

// For people, as wide as their terminal; 80 columns where it goes elsewhere; COLUMNS overrules both.
[[nodiscard]] std::string helpOn(const Program& program);
[[nodiscard]] std::string helpOn(const Program& program, const Verb& verb);

[[nodiscard]] std::string manualPage(const Program& program);

[[nodiscard]] std::string bashCompletion(const Program& program);
[[nodiscard]] std::string zshCompletion(const Program& program);
[[nodiscard]] std::string fishCompletion(const Program& program);

}  // namespace kelxml
