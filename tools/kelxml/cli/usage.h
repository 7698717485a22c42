// Messages about a wrong command line: one sentence, and what was probably meant. Threads: no shared state.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/kelxml/cli/program.h"

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace kelxml {

[[nodiscard]] std::string explainUsage(const CLI::App& app, const CLI::App* chosenVerb,
                                       const CLI::ParseError& error, const Program& program);
[[nodiscard]] std::string explainNoVerb(const Program& program);
[[nodiscard]] std::string unknownVerb(const std::string& name, const Program& program);

// The name that `word` was probably meant to be; empty if none is near.
[[nodiscard]] std::string nearest(std::string_view word, const std::vector<std::string>& names);

}  // namespace kelxml
