#include "tools/kelxml/cli/pages.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "tools/kelxml/cli/textwidth.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

// When the definition of the command line last changed.
constexpr const char* kDate = "November 22, 2026";
constexpr std::size_t kLineInColumns = 76;

// Backslashes are written out, and lines may be broken between East Asian characters.
std::string escaped(std::string_view line) {
    std::string result;
    bool isAfterSpace = true;
    for (const std::string& piece : pieces(line)) {
        const bool isSpace = piece == " ";
        if (!isSpace && !isAfterSpace) result += "\\:";
        for (const char unit : piece) result += unit == '\\' ? "\\e" : std::string(1, unit);
        isAfterSpace = isSpace;
    }
    return result;
}

// Text in the body of a page: each sentence on lines of its own, which are short; a line must not begin like
// a request.
std::string body(std::string_view text) {
    std::string result;
    std::string line;
    const auto endLine = [&] {
        if (line.empty()) return;
        if (line[0] == '.' || line[0] == '\'') result += "\\&";
        result += escaped(line) + '\n';
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

// Of a letter of Latin-1, which all our languages with capitals do with.
void capitalise(std::string& utf8) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(utf8[at]); };
    const bool isTwoBytes = utf8.size() > 1 && byte(0) == 0xC3 && byte(1) >= 0xA0;
    if (isTwoBytes) {
        utf8[1] = static_cast<char>(byte(1) - 0x20);
    } else {
        utf8[0] = static_cast<char>(std::toupper(byte(0)));
    }
}

std::string sentence(const std::string& text) {
    if (text.empty()) return "";
    const bool hasEnd = text.ends_with('.') || text.ends_with("\u3002");
    std::string result = body(hasEnd ? text : tr("%1.", text)) + '\n';
    if (!result.ends_with("\u3002\n")) capitalise(result);  // a Japanese sentence has no capitals
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
        text += ".Pp\n" + body(tr("%1:", example.explanation)) + "\n.Dl " + literal(example.command) + '\n';
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

std::string section(const std::string& title) {
    return ".Sh " + title + '\n';
}

// The macros know two sections by their titles, which they keep in strings.
std::string nameAndSynopsis(const Program& program) {
    const std::string name = tr("NAME");
    const std::string usage = tr("SYNOPSIS");
    std::string text;
    if (name != "NAME") text += ".ds doc-section-name " + name + "\n.ds doc-section-synopsis " + usage + '\n';
    text += section(name) + ".Nm kelxml\n.Nd " + body(program.summary) + '\n' + section(usage);
    for (const Verb& verb : program.verbs) text += synopsis(verb);
    return text + ".Nm\n.Fl \"\\-help\" | Fl \"\\-version\"\n";
}

}  // namespace

std::string manualPage(const Program& program) {
    std::string text = ".\\\" Written by 'kelxml manual'.\n.Dd ";
    text += kDate;
    text += "\n.Dt KELXML 1\n.Os\n" + nameAndSynopsis(program);
    text += section(tr("DESCRIPTION")) + sentence(program.details) + ".Pp\n" +
            tr("%1:", tr("Options of every verb")) + '\n' + optionList(program.options);
    for (const Verb& verb : program.verbs) text += verbSection(verb);
    text += section(tr("ENVIRONMENT")) + ".Bl -tag -width Ds\n";
    for (const Note& variable : program.environment)
        text += ".It Ev " + variable.name + '\n' + sentence(variable.meaning);
    text += ".El\n" + section(tr("EXIT STATUS")) + ".Bl -tag -width Ds\n";
    for (const Note& status : program.statuses)
        text += ".It " + status.name + '\n' + sentence(status.meaning);
    text += ".El\n" + section(tr("EXAMPLES"));
    std::string examples = exampleList(program.examples);
    for (const Verb& verb : program.verbs) examples += exampleList(verb.examples);
    return text + examples.substr(std::string_view(".Pp\n").size());
}

}  // namespace kelxml
