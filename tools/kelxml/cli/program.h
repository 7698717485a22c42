// What the command line offers, in words: what help, man page and shell completion are written from.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kelxml {

struct Option {
    std::string longName;   // "--output"
    std::string shortName;  // "-o"; empty: none
    std::string value;      // "OUT", or the choices as "auto|always|never"; empty: a flag
    std::string help;
};

struct Argument {
    std::string name;  // "FILE", or the choices as for an option
    std::string help;
    bool isRequired = true;
    bool isRepeated = false;
};

// Commands say "kelxml ..."; the explanation is a sentence without a full stop.
struct Example {
    std::string command;
    std::string explanation;
};

struct Verb {
    std::string name;
    std::string summary;
    std::string details;  // paragraphs separated by a line feed; empty: the summary says it all
    std::vector<Argument> arguments;
    std::vector<Option> options;  // its own; those of the program are understood, too
    std::vector<Example> examples;
};

// A name and what it means: an exit status, an environment variable.
struct Note {
    std::string name;
    std::string meaning;
};

struct Program {
    std::string name;
    std::string summary;
    std::string details;
    std::string version;
    std::vector<Option> options;
    std::vector<Verb> verbs;
    std::vector<Example> examples;
    std::vector<Note> statuses;
    std::vector<Note> environment;

    [[nodiscard]] const Verb* find(std::string_view verb) const noexcept;  // null: there is none
};

// Whether a value or argument of this name is a path.
[[nodiscard]] bool isPath(std::string_view value);

// The choices of a value or argument; empty if it is not a choice.
[[nodiscard]] std::vector<std::string> choicesOf(std::string_view value);

// "kelxml tree [OPTION...] FILE..."
[[nodiscard]] std::string synopsisOf(const Program& program, const Verb& verb);

}  // namespace kelxml
