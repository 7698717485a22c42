// Help for people, as wide as their terminal; 80 columns where it goes elsewhere.
#pragma once

#include <string>

#include "tools/kelxml/program.h"

namespace kelxml {

[[nodiscard]] std::string helpOn(const Program& program);
[[nodiscard]] std::string helpOn(const Program& program, const Verb& verb);

}  // namespace kelxml
