#include "tools/kelxml/help.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "tools/kelxml/message.h"
#include "tools/kelxml/textwidth.h"

namespace kelxml {

namespace {

constexpr std::size_t kLineInColumns = 80;
constexpr std::size_t kHelpColumn = 24;

std::string paragraph(std::string_view text) {
    std::string result;
    for (const std::string& line : wrapped(text, kLineInColumns)) result += line + '\n';
    return result;
}

// "  --output OUT          what it does", with the rest of the text below its beginning.
std::string definition(const std::string& term, std::string_view meaning) {
    std::string result = "  " + term;
    if (result.size() + 2 > kHelpColumn) {
        result += '\n' + std::string(kHelpColumn, ' ');
    } else {
        result.resize(kHelpColumn, ' ');
    }
    const char* separator = "";
    for (const std::string& line : wrapped(meaning, kLineInColumns - kHelpColumn)) {
        result += separator + line;
        separator = "\n                        ";
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
        for (const std::string& line : wrapped(example.explanation, kLineInColumns - 6))
            result += "      " + line + '\n';
    }
    return result;
}

std::string usageLine(const std::string& synopsis) {
    return tr("Usage: %1", synopsis) + "\n\n";
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
