// Reads the program's description off the definition of its command line.
#include <CLI/CLI.hpp>

#include "tools/kelxml/cli/commandline.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

Option describeOption(const CLI::Option& option) {
    Option described;
    if (!option.get_lnames().empty()) described.longName = "--" + option.get_lnames().front();
    if (!option.get_snames().empty()) described.shortName = '-' + option.get_snames().front();
    if (option.get_items_expected_max() > 0) described.value = option.get_type_name();
    described.help = option.get_description();
    return described;
}

Argument describeArgument(const CLI::Option& option) {
    return {option.get_name(true), option.get_description(), option.get_required(),
            option.get_items_expected_max() > 1};
}

std::vector<Option> optionsOf(const CLI::App& command) {
    std::vector<Option> options;
    for (const CLI::Option* option : command.get_options()) {
        if (option->nonpositional()) options.push_back(describeOption(*option));
    }
    return options;
}

std::vector<Note> exitStatuses() {
    return {{"0", tr("done")},
            {"1", tr("a document, style sheet or schema was rejected, or the result could not be written")},
            {"2", tr("wrong usage")}};
}

std::vector<Note> environmentVariables() {
    return {
        {"LANGUAGE, LC_ALL, LC_MESSAGES, LANG",
         tr("the language of messages: English, German, French or Japanese")},
        {"COLUMNS", tr("the width of help in columns, if not that of the terminal")},
        {"NO_COLOR", tr("no colours if it is set to anything, unless --color says otherwise")},
        {"TMPDIR", tr("the folder for temporary files")},
    };
}

}  // namespace

Program CommandLine::describe() {
    while (!undefined_.empty()) define(*undefined_.begin()->first);
    Program program;
    program.name = app_->get_name();
    program.summary = app_->get_description();
    program.details = tr(
        "Works through the msxml_parser component. Errors are reported on standard error with file, line and "
        "column; a file that was to be replaced then stays what it was, and only the verbs tree, validate "
        "and "
        "events write to standard output before an error is found. Several files are worked on at a time, "
        "and "
        "what is written about them comes in their order.");
    program.version = KELXML_VERSION;
    program.options = optionsOf(*app_);
    program.examples = {
        {"kelxml tree document.xml", tr("outline a document")},
        {"kelxml validate schema.xsd *.xml", tr("validate documents against a schema")},
        {"kelxml transform report.xsl data.xml -o report.html", tr("make a page of a document")},
        {"kelxml help tree", tr("explain a verb, with examples")},
    };
    program.statuses = exitStatuses();
    program.environment = environmentVariables();
    for (const CLI::App* command : app_->get_subcommands({})) {
        if (command->get_group().empty()) continue;  // hidden
        Verb verb;
        verb.name = command->get_name();
        verb.summary = command->get_description();
        for (Option& option : optionsOf(*command)) {
            if (option.longName != "--help") verb.options.push_back(std::move(option));
        }
        for (const CLI::Option* option : command->get_options()) {
            if (!option->nonpositional()) verb.arguments.push_back(describeArgument(*option));
        }
        const Notes& notes = notes_.at(command);
        verb.details = notes.details;
        verb.examples = notes.examples;
        program.verbs.push_back(std::move(verb));
    }
    return program;
}

}  // namespace kelxml
