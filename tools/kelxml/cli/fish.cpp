// One `complete` line for each verb, option and kind of argument.
#include "tools/kelxml/cli/pages.h"

namespace kelxml {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char unit : text) {
        if (unit == '\'' || unit == '\\') result += '\\';
        result += unit;
    }
    return result + '\'';
}

std::string choiceList(const std::string& name, const Program& program) {
    std::string list;
    const auto add = [&list](const std::string& word) { list += (list.empty() ? "" : " ") + word; };
    for (const std::string& choice : choicesOf(name)) add(choice);
    if (name == "VERB") {
        for (const Verb& verb : program.verbs) add(verb.name);
    }
    return list;
}

std::string optionLine(const std::string& condition, const Option& option, const Program& program) {
    std::string line = "complete -c kelxml" + condition;
    if (!option.shortName.empty()) line += " -s " + option.shortName.substr(1);
    line += " -l " + option.longName.substr(2);
    if (!option.value.empty()) {
        const std::string choices = choiceList(option.value, program);
        line += isPath(option.value) ? " -r -F" : " -x";
        if (!choices.empty()) line += " -a " + quoted(choices);
    }
    return line + " -d " + quoted(option.help) + '\n';
}

}  // namespace

std::string fishCompletion(const Program& program) {
    std::string text =
        "# fish completion for kelxml; written by 'kelxml completion fish'\ncomplete -c kelxml -f\n";
    for (const Option& option : program.options) text += optionLine("", option, program);
    for (const Verb& verb : program.verbs) {
        text += "complete -c kelxml -n __fish_use_subcommand -a " + verb.name + " -d " +
                quoted(verb.summary) + '\n';
        const std::string condition = " -n '__fish_seen_subcommand_from " + verb.name + '\'';
        for (const Option& option : verb.options) text += optionLine(condition, option, program);
        if (verb.arguments.empty()) continue;
        const std::string choices = choiceList(verb.arguments.front().name, program);
        text +=
            "complete -c kelxml" + condition + (choices.empty() ? " -F" : " -a " + quoted(choices)) + '\n';
    }
    return text;
}

}  // namespace kelxml
