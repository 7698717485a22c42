// The script finds the verb among the words before the cursor, then offers: after an option that takes a
// value, its choices or files; at a '-', options; else the verbs, or the choices or files of the verb's
// arguments.
#include "tools/kelxml/cli/pages.h"

namespace kelxml {

namespace {

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string result;
    for (const std::string& word : words) result += (result.empty() ? "" : separator) + word;
    return result;
}

std::vector<std::string> namesOf(const std::vector<Option>& options) {
    std::vector<std::string> names;
    for (const Option& option : options) {
        names.push_back(option.longName);
        if (!option.shortName.empty()) names.push_back(option.shortName);
    }
    return names;
}

std::string patternOf(const Option& option) {
    return option.shortName.empty() ? option.longName : option.shortName + '|' + option.longName;
}

std::string valueCases(const std::vector<Option>& options) {
    std::string cases;
    for (const Option& option : options) {
        if (option.value.empty()) continue;
        const std::vector<std::string> choices = choicesOf(option.value);
        cases += "        " + patternOf(option) + ") ";
        if (isPath(option.value))
            cases += "_kelxml_files; return ;;\n";
        else
            cases += "_kelxml_words \"" + joined(choices, " ") + "\"; return ;;\n";
    }
    return cases;
}

std::vector<std::string> verbNames(const Program& program) {
    std::vector<std::string> names;
    for (const Verb& verb : program.verbs) names.push_back(verb.name);
    return names;
}

std::string argumentCases(const Program& program) {
    std::string cases;
    for (const Verb& verb : program.verbs) {
        if (verb.arguments.empty()) {
            cases += "        " + verb.name + ") ;;\n";
        } else if (verb.arguments.front().name == "VERB") {
            cases +=
                "        " + verb.name + ") _kelxml_words \"" + joined(verbNames(program), " ") + "\" ;;\n";
        } else if (const auto choices = choicesOf(verb.arguments.front().name); !choices.empty()) {
            cases += "        " + verb.name + ") _kelxml_words \"" + joined(choices, " ") + "\" ;;\n";
        }
    }
    return cases;
}

std::string optionCases(const Program& program) {
    std::string cases;
    for (const Verb& verb : program.verbs) {
        if (verb.options.empty()) continue;
        cases +=
            "            " + verb.name + ") options+=\" " + joined(namesOf(verb.options), " ") + "\" ;;\n";
    }
    return cases;
}

std::vector<Option> allOptions(const Program& program) {
    std::vector<Option> all = program.options;
    for (const Verb& verb : program.verbs) {
        for (const Option& option : verb.options) {
            bool isKnown = false;
            for (const Option& known : all) isKnown = isKnown || known.longName == option.longName;
            if (!isKnown) all.push_back(option);
        }
    }
    return all;
}

}  // namespace

std::string bashCompletion(const Program& program) {
    const std::vector<Option> options = allOptions(program);
    std::string withValue;
    for (const Option& option : options) {
        if (!option.value.empty()) withValue += (withValue.empty() ? "" : "|") + patternOf(option);
    }
    return R"(# bash completion for kelxml; written by 'kelxml completion bash'
_kelxml_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur"); }
_kelxml_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
}
_kelxml() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} verb= i
    COMPREPLY=()
    # bash takes --option=value apart at the equals sign
    if [[ $cur == "=" ]]; then
        cur=
    elif [[ $prev == "=" ]]; then
        prev=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            )" +
           withValue +
           R"() [[ ${COMP_WORDS[i + 1]} == "=" ]] && ((i++)); ((i++)) ;;
            -*) ;;
            *) verb=${COMP_WORDS[i]}; break ;;
        esac
    done
    case $prev in
)" + valueCases(options) +
           R"(    esac
    if [[ $cur == -?* || $cur == - ]]; then
        local options=")" +
           joined(namesOf(program.options), " ") + R"("
        case $verb in
)" + optionCases(program) +
           R"(        esac
        _kelxml_words "$options"
        return
    fi
    case $verb in
        "") _kelxml_words ")" +
           joined(verbNames(program), " ") + R"(" ;;
)" + argumentCases(program) +
           R"(        *) _kelxml_files ;;
    esac
}
complete -F _kelxml kelxml
)";
}

}  // namespace kelxml
