#include "tools/kelxml/cli/pages.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>

#include "tools/kelxml/cli/textwidth.h"
#include "tools/kelxml/platform/terminal.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

constexpr std::size_t kUsualColumns = 80;
constexpr std::size_t kNarrowestColumns = 30;
constexpr std::size_t kWidestColumns = 120;  // longer lines are hard to read
// Where the explanations of options begin; on a narrow terminal they begin below.
constexpr std::size_t kHelpColumn = 24;
constexpr std::size_t kNarrowHelpColumn = 10;
constexpr std::size_t kNarrowInColumns = 60;

// What the user wants whatever the terminal has, by the variable of POSIX.
std::optional<std::size_t> wantedColumns() {
    const char* const variable = std::getenv("COLUMNS");
    const std::string_view text = variable != nullptr ? variable : "";
    std::size_t columns = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), columns);
    const bool isNumber = error == std::errc() && end == text.data() + text.size() && columns > 0;
    return isNumber ? std::optional(columns) : std::nullopt;
}

std::size_t lineInColumns() {
    static const std::size_t width =
        std::clamp(wantedColumns().value_or(terminalColumns().value_or(kUsualColumns)), kNarrowestColumns,
                   kWidestColumns);
    return width;
}

std::size_t helpColumn() {
    return lineInColumns() < kNarrowInColumns ? kNarrowHelpColumn : kHelpColumn;
}

std::string paragraph(std::string_view text) {
    std::string result;
    for (const std::string& line : wrapped(text, lineInColumns())) result += line + '\n';
    return result;
}

// "  --output OUT          what it does", with the rest of the text below its beginning.
std::string definition(const std::string& term, std::string_view meaning) {
    std::string result = "  " + term;
    const std::size_t column = helpColumn();
    if (result.size() + 2 > column) {
        result += '\n' + std::string(column, ' ');
    } else {
        result.resize(column, ' ');
    }
    std::string separator;
    for (const std::string& line : wrapped(meaning, lineInColumns() - column)) {
        result += separator + line;
        separator = '\n' + std::string(column, ' ');
    }
    return result + '\n';
}

std::string heading(const std::string& text) {
    return '\n' + text + '\n';
}

std::string optionLines(const std::vector<Option>& options) {
    std::string result;
    for (const Option& option : options) {
        std::string term = option.shortName.empty() ? "    " : option.shortName + ", ";
        term += option.longName;
        if (!option.value.empty()) term += ' ' + option.value;
        result += definition(term, option.help);
    }
    return result;
}

std::string exampleLines(const std::vector<Example>& examples) {
    std::string result;
    for (const Example& example : examples) {
        result += "  " + example.command + '\n';
        for (const std::string& line : wrapped(example.explanation, lineInColumns() - 6))
            result += "      " + line + '\n';
    }
    return result;
}

std::string usageLine(const std::string& synopsis) {
    std::string result;
    for (const std::string& line : wrapped(tr("Usage: %1", synopsis), lineInColumns() - 4))
        result += (result.empty() ? "" : "    ") + line + '\n';
    return result + '\n';
}

}  // namespace

std::string helpOn(const Program& program) {
    std::string text = usageLine(program.name + " VERB [OPTION...] [ARGUMENT...]");
    text += paragraph(tr("%1: %2.", program.name, program.summary));
    text += heading(tr("Verbs"));
    for (const Verb& verb : program.verbs) text += definition(verb.name, verb.summary);
    text += heading(tr("Options")) + optionLines(program.options);
    text += heading(tr("Examples")) + exampleLines(program.examples);
    text += heading(tr("Exit status"));
    for (const Note& status : program.statuses) text += definition(status.name, status.meaning);
    return text + '\n' + paragraph(tr("'%1' explains a verb.", program.name + " VERB --help"));
}

std::string helpOn(const Program& program, const Verb& verb) {
    std::string text = usageLine(synopsisOf(program, verb));
    text += paragraph(tr("%1: %2.", verb.name, verb.summary));
    if (!verb.details.empty()) text += '\n' + paragraph(verb.details);
    if (!verb.arguments.empty()) text += heading(tr("Arguments"));
    for (const Argument& argument : verb.arguments)
        text += definition(argument.name + (argument.isRepeated ? "..." : ""), argument.help);
    if (!verb.options.empty()) text += heading(tr("Options")) + optionLines(verb.options);
    text += heading(tr("Options of every verb")) + optionLines(program.options);
    if (!verb.examples.empty()) text += heading(tr("Examples")) + exampleLines(verb.examples);
    return text;
}

}  // namespace kelxml
