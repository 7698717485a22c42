// What a person is told who got the command line wrong: one sentence, and what was probably meant.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "tools/kelxml/program.h"

namespace kelxml {

[[nodiscard]] std::string explainUsage(const CLI::App& app, const CLI::App* chosenVerb,
                                       const CLI::ParseError& error, const Program& program);
[[nodiscard]] std::string explainNoVerb(const Program& program);
[[nodiscard]] std::string unknownVerb(const std::string& name, const Program& program);

// The name that `word` was probably meant to be; empty if none is near.
[[nodiscard]] std::string nearest(std::string_view word, const std::vector<std::string>& names);

}  // namespace kelxml
