// Completion scripts for shells. Each stands alone: nothing but the shell is needed.
#pragma once

#include <string>

#include "tools/kelxml/program.h"

namespace kelxml {

[[nodiscard]] std::string bashCompletion(const Program& program);
[[nodiscard]] std::string zshCompletion(const Program& program);
[[nodiscard]] std::string fishCompletion(const Program& program);

// `shell` is one of bash, zsh and fish.
[[nodiscard]] std::string completionFor(const std::string& shell, const Program& program);

}  // namespace kelxml
