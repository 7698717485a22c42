// The manual page, in the mdoc language.
#pragma once

#include <string>

#include "tools/kelxml/program.h"

namespace kelxml {

[[nodiscard]] std::string manualPage(const Program& program);

}  // namespace kelxml
