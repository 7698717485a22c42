// One function that calls _arguments: first for the program, then for the verb that was chosen.
#include "tools/kelxml/cli/pages.h"

namespace kelxml {

namespace {

// Between single quotes; brackets and colons mean something to _arguments.
std::string quoted(const std::string& text) {
    std::string result;
    for (const char unit : text) {
        if (unit == '\'')
            result += "'\\''";
        else if (unit == '[' || unit == ']' || unit == ':' || unit == '\\')
            result += std::string("\\") + unit;
        else
            result += unit;
    }
    return result;
}

// What may stand for a value or argument of this name.
std::string actionOf(const std::string& name) {
    if (const std::vector<std::string> choices = choicesOf(name); !choices.empty()) {
        std::string list;
        for (const std::string& choice : choices) list += (list.empty() ? "" : " ") + choice;
        return '(' + list + ')';
    }
    if (name == "VERB") return "_kelxml_verbs";
    return isPath(name) ? "_files" : " ";
}

std::string rule(const Option& option) {
    const std::string rest =
        '[' + quoted(option.help) + ']' +
        (option.value.empty() ? "" : ":" + quoted(option.value) + ':' + actionOf(option.value));
    const std::string equals = option.value.empty() ? "" : "=";
    if (option.shortName.empty()) return '\'' + option.longName + equals + rest + '\'';
    return "'(" + option.shortName + ' ' + option.longName + ")'{" + option.shortName +
           (option.value.empty() ? "" : "+") + ',' + option.longName + equals + "}'" + rest + '\'';
}

std::string rule(const Argument& argument) {
    const std::string head = argument.isRepeated ? "*:" : argument.isRequired ? ":" : "::";
    return '\'' + head + quoted(argument.help) + ':' + actionOf(argument.name) + '\'';
}

std::string verbCase(const Verb& verb) {
    std::string text = "        (" + verb.name + ")\n            _arguments -s $globals";
    for (const Option& option : verb.options) text += " \\\n                " + rule(option);
    for (const Argument& argument : verb.arguments) text += " \\\n                " + rule(argument);
    return text + "\n            ;;\n";
}

}  // namespace

std::string zshCompletion(const Program& program) {
    std::string text =
        "#compdef kelxml\n# zsh completion for kelxml; written by 'kelxml completion zsh'\n"
        "_kelxml_verbs() {\n    local -a verbs\n    verbs=(\n";
    for (const Verb& verb : program.verbs)
        text += "        '" + verb.name + ':' + quoted(verb.summary) + "'\n";
    text +=
        "    )\n    _describe -t verbs verb verbs\n}\n_kelxml() {\n    local curcontext=$curcontext state "
        "line\n"
        "    local -a globals\n    globals=(\n";
    for (const Option& option : program.options) text += "        " + rule(option) + '\n';
    text +=
        "    )\n    _arguments -C -s $globals '1: :_kelxml_verbs' '*:: :->arguments' && return\n"
        "    case $words[1] in\n";
    for (const Verb& verb : program.verbs) text += verbCase(verb);
    return text +
           "    esac\n}\nif [[ $funcstack[1] == _kelxml ]]; then\n    _kelxml \"$@\"\nelse\n    compdef "
           "_kelxml "
           "kelxml\nfi\n";
}

}  // namespace kelxml
