#include "tools/kelxml/cli/pages.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "tools/kelxml/message.h"

namespace kelxml {

namespace {

// When the definition of the command line last changed.
constexpr const char* kDate = "November 22, 2026";
constexpr std::size_t kLineInColumns = 76;

// Text in the body of a page: each sentence on lines of its own, which are short; backslashes are written
// out, and a line must not begin like a request.
std::string body(std::string_view text) {
    std::string result;
    std::string line;
    const auto endLine = [&] {
        if (line.empty()) return;
        if (line[0] == '.' || line[0] == '\'') result += "\\&";
        for (const char unit : line) result += unit == '\\' ? "\\e" : std::string(1, unit);
        result += '\n';
        line.clear();
    };
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (line.size() + 1 + word.size() > kLineInColumns) endLine();
        line += (line.empty() ? "" : " ") + std::string(word);
        if (word.ends_with('.')) endLine();
    }
    endLine();
    return result.substr(0, result.size() - 1);
}

// What is typed: on one line, with quotes and dashes that can be copied.
std::string literal(std::string_view text) {
    std::string result;
    for (const char unit : text) {
        switch (unit) {
            case '\\':
                result += "\\e";
                break;
            case '\'':
                result += "\\(aq";
                break;
            case '"':
                result += "\\(dq";
                break;
            case '-':
                result += "\\-";
                break;
            default:
                result += unit;
        }
    }
    return result;
}

// An argument of a macro.
std::string argument(std::string_view text) {
    return '"' + literal(text) + '"';
}

std::string sentence(std::string_view text) {
    if (text.empty()) return "";
    std::string result = body(text) + (text.back() == '.' ? "\n" : ".\n");
    result[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(result[0])));
    return result;
}

std::string flag(const std::string& name) {
    return argument(std::string_view(name).substr(1));  // the macro writes the first dash
}

std::string optionItem(const Option& option) {
    std::string item = ".It";
    if (!option.shortName.empty()) item += " Fl " + flag(option.shortName) + " ,";
    item += " Fl " + flag(option.longName);
    if (!option.value.empty()) item += " Ar " + option.value;
    return item + '\n' + sentence(option.help);
}

std::string optionList(const std::vector<Option>& options) {
    if (options.empty()) return "";
    std::string list = ".Bl -tag -width Ds\n";
    for (const Option& option : options) list += optionItem(option);
    return list + ".El\n";
}

std::string exampleList(const std::vector<Example>& examples) {
    std::string text;
    for (const Example& example : examples) {
        text += ".Pp\n" + body(example.explanation) + ":\n.Dl " + literal(example.command) + '\n';
    }
    return text;
}

std::string synopsis(const Verb& verb) {
    std::string text = ".Nm\n.Cm " + verb.name + '\n';
    if (!verb.options.empty()) text += ".Op Ar OPTION ...\n";
    for (const Argument& each : verb.arguments) {
        text += (each.isRequired ? ".Ar " : ".Op Ar ") + each.name + (each.isRepeated ? " ...\n" : "\n");
    }
    return text;
}

std::string verbSection(const Verb& verb) {
    std::string text = ".Ss " + verb.name + "\n" + sentence(verb.summary);
    if (!verb.details.empty()) text += ".Pp\n" + sentence(verb.details);
    if (!verb.arguments.empty()) {
        text += ".Bl -tag -width Ds\n";
        for (const Argument& each : verb.arguments)
            text += ".It Ar " + each.name + '\n' + sentence(each.help);
        text += ".El\n";
    }
    return text + optionList(verb.options);
}

}  // namespace

std::string manualPage(const Program& program) {
    std::string text = ".\\\" Written by 'kelxml manual'.\n.Dd ";
    text += kDate;
    text += "\n.Dt KELXML 1\n.Os\n.Sh NAME\n.Nm kelxml\n.Nd " + body(program.summary) + "\n.Sh SYNOPSIS\n";
    for (const Verb& verb : program.verbs) text += synopsis(verb);
    text += ".Nm\n.Fl \"\\-help\" | Fl \"\\-version\"\n";
    text += ".Sh DESCRIPTION\n" + sentence(program.details) + ".Pp\nOptions of every verb:\n" +
            optionList(program.options);
    for (const Verb& verb : program.verbs) text += verbSection(verb);
    text += ".Sh ENVIRONMENT\n.Bl -tag -width Ds\n";
    for (const Note& variable : program.environment)
        text += ".It Ev " + variable.name + '\n' + sentence(variable.meaning);
    text += ".El\n.Sh EXIT STATUS\n.Bl -tag -width Ds\n";
    for (const Note& status : program.statuses)
        text += ".It " + status.name + '\n' + sentence(status.meaning);
    text += ".El\n.Sh EXAMPLES\n";
    std::string examples = exampleList(program.examples);
    for (const Verb& verb : program.verbs) examples += exampleList(verb.examples);
    return text + examples.substr(std::string_view(".Pp\n").size());
}

}  // namespace kelxml
