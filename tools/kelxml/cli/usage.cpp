#include "tools/kelxml/cli/usage.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

// How many letters must be added, removed, changed or swapped with their neighbour.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> beforeLast(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(last.begin(), last.end(), 0);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({changed, last[j] + 1, row[j - 1] + 1});
            const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (isSwapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = last;
        last = row;
    }
    return last.back();
}

std::string withSuggestion(const std::string& sentence, const std::string& meant) {
    return meant.empty() ? sentence : tr("%1; did you mean '%2'?", sentence, meant);
}

std::string unknownOption(const std::string& given, const Program& program, const Verb* verb) {
    std::vector<std::string> names;
    const auto collect = [&names](const std::vector<Option>& options) {
        for (const Option& option : options) names.push_back(option.longName);
    };
    if (verb != nullptr) collect(verb->options);
    collect(program.options);
    const std::string name = given.substr(0, given.find('='));
    return withSuggestion(tr("unknown option '%1'", name), nearest(name, names));
}

// What was left over, if that is what went wrong; whatever else is missing follows from it.
std::string explainRest(const CLI::App& app, const Program& program, const Verb* verb) {
    const std::vector<std::string> rest = app.remaining(true);
    const auto option =
        std::ranges::find_if(rest, [](const std::string& word) { return word.size() > 1 && word[0] == '-'; });
    if (option != rest.end()) return unknownOption(*option, program, verb);
    if (rest.empty()) return "";
    return verb == nullptr ? unknownVerb(rest.front(), program)
                           : tr("unexpected argument '%1'", rest.front());
}

std::string explainMissing(const CLI::App& chosen, const Program& program) {
    for (const CLI::Option* option : chosen.get_options()) {
        if (option->get_required() && option->empty()) return tr("%1 is missing", option->get_name(true));
    }
    return explainNoVerb(program);
}

// The library's sentences begin with the name of the option.
std::string optionNamedIn(const CLI::ParseError& error) {
    const std::string text = error.what();
    return text.substr(0, text.find(':'));
}

std::string explain(const CLI::App& app, const CLI::App* chosen, const CLI::ParseError& error,
                    const Program& program, const Verb* verb) {
    const auto code = static_cast<CLI::ExitCodes>(error.get_exit_code());
    if (code == CLI::ExitCodes::ArgumentMismatch)
        return tr("option '%1' needs a value", optionNamedIn(error));
    std::string rest = explainRest(app, program, verb);
    if (!rest.empty()) return rest;
    if (code == CLI::ExitCodes::RequiredError) return explainMissing(chosen ? *chosen : app, program);
    return error.what();  // of a check: its own words, after the option's name
}

}  // namespace

std::string nearest(std::string_view word, const std::vector<std::string>& names) {
    std::string best;
    // A third of the word may be wrong, and one letter of a short one.
    std::size_t limit = std::max<std::size_t>(1, word.size() / 3);
    for (const std::string& name : names) {
        const std::size_t wrong = distance(word, name);
        if (wrong > limit || (wrong == limit && !best.empty())) continue;
        best = name;
        limit = wrong;
    }
    return best;
}

std::string unknownVerb(const std::string& name, const Program& program) {
    std::vector<std::string> verbs;
    std::string list;
    for (const Verb& verb : program.verbs) {
        verbs.push_back(verb.name);
        list += ' ' + verb.name;
    }
    const std::string meant = nearest(name, verbs);
    const std::string sentence = tr("unknown verb '%1'", name);
    return meant.empty() ? tr("%1; the verbs are:%2", sentence, list) : withSuggestion(sentence, meant);
}

std::string explainNoVerb(const Program& program) {
    std::string list;
    for (const Verb& verb : program.verbs) list += ' ' + verb.name;
    return tr("a verb is missing; the verbs are:%1", list) + '\n' + tr("Try '%1'.", program.name + " --help");
}

std::string explainUsage(const CLI::App& app, const CLI::App* chosenVerb, const CLI::ParseError& error,
                         const Program& program) {
    const Verb* verb = chosenVerb == nullptr ? nullptr : program.find(chosenVerb->get_name());
    const std::string prefix = verb == nullptr ? "" : verb->name + ": ";
    const std::string help = program.name + (verb == nullptr ? "" : ' ' + verb->name) + " --help";
    return prefix + explain(app, chosenVerb, error, program, verb) + '\n' + tr("Try '%1'.", help);
}

}  // namespace kelxml
