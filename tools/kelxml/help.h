// Help for people at a terminal, 80 columns wide.
#pragma once

#include <string>

#include "tools/kelxml/program.h"

namespace kelxml {

[[nodiscard]] std::string helpOn(const Program& program);
[[nodiscard]] std::string helpOn(const Program& program, const Verb& verb);

}  // namespace kelxml
