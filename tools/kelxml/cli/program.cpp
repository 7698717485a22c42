#include "tools/kelxml/cli/program.h"

#include <algorithm>
#include <array>

namespace kelxml {

const Verb* Program::find(std::string_view verb) const noexcept {
    const auto found = std::ranges::find(verbs, verb, &Verb::name);
    return found == verbs.end() ? nullptr : &*found;
}

bool isPath(std::string_view value) {
    static constexpr std::array<std::string_view, 5> kPaths{"FILE", "OUT", "PATH", "SCHEMA", "STYLE"};
    return std::ranges::find(kPaths, value) != kPaths.end();
}

std::vector<std::string> choicesOf(std::string_view value) {
    std::vector<std::string> choices;
    if (value.find('|') == std::string_view::npos) return choices;
    for (std::size_t start = 0; start <= value.size();) {
        const std::size_t end = std::min(value.find('|', start), value.size());
        choices.emplace_back(value.substr(start, end - start));
        start = end + 1;
    }
    return choices;
}

std::string synopsisOf(const Program& program, const Verb& verb) {
    std::string line = program.name + ' ' + verb.name;
    if (!verb.options.empty()) line += " [OPTION...]";
    for (const Argument& argument : verb.arguments) {
        const std::string name = argument.name + (argument.isRepeated ? "..." : "");
        line += argument.isRequired ? ' ' + name : " [" + name + ']';
    }
    return line;
}

}  // namespace kelxml
