// The command line: kelxml VERB ... Exit status: 0 done, 1 the document was refused, 2 wrong usage.
#include <cstdio>
#include <exception>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "KelBasicTypes/utf8.h"
#include "engine/com/comerror.h"

#include "tools/kelxml/failure.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace {

constexpr const char* kFileHelp = "The document; '-' reads standard input";

bool isCount(const std::string& text) {
    return text.find_first_not_of("0123456789") == std::string::npos &&
           text.find_first_not_of('0') != std::string::npos;
}

struct CommandLine {
    CLI::App app{"Reads and writes XML through the msxml_parser component.", "kelxml"};
    std::string component;
    SaveOptions saving;
    FormatOptions formatting;
    TreeOptions outlining;
    TransformOptions transforming;
    ValidateOptions validating;
    EventsOptions reporting;
    std::function<void(Session&)> verb;

    CommandLine() {
        app.require_subcommand(1);
        app.add_option("--component", component,
                       "The component library to load instead of the one that belongs here")
            ->type_name("PATH");
        app.footer("Exit status: 0 done, 1 the document was refused, 2 wrong usage.");
        addSave();
        addFormat();
        addTree();
        addEvents();
        addTransform();
        addValidate();
        CLI::App* infoVerb =
            app.add_subcommand("info", "Show the component's identity, its classes and our services");
        infoVerb->callback([this] { verb = info; });
    }

    static void addOutput(CLI::App& command, std::string& out) {
        command.add_option("-o,--output", out, "Where to write; without it, standard output")
            ->type_name("OUT");
    }

    void addSave() {
        CLI::App* command = app.add_subcommand(
            "save", "Write the document with the component's own writer, then read it back and compare");
        command->add_option("FILE", saving.file, kFileHelp)->required();
        command->add_option("-o,--output", saving.out, "Where to write; without it, standard output")
            ->type_name("OUT");
        command->add_flag("--force", saving.force,
                          "Write even if elements, attributes or texts would differ");
        command->callback([this] { verb = [this](Session& session) { save(session, saving); }; });
    }

    void addFormat() {
        CLI::App* command =
            app.add_subcommand("format", "Indent the document; comments and mixed content survive");
        command->add_option("FILE", formatting.file, kFileHelp)->required();
        addOutput(*command, formatting.out);
        command->callback([this] { verb = [this](Session& session) { format(session, formatting); }; });
    }

    void addTransform() {
        CLI::App* command = app.add_subcommand("transform", "Apply an XSLT style sheet; the result is UTF-8");
        command->add_option("STYLE", transforming.style, "The style sheet")->required();
        command->add_option("FILE", transforming.file, kFileHelp)->required();
        addOutput(*command, transforming.out);
        command->callback([this] { verb = [this](Session& session) { transform(session, transforming); }; });
    }

    void addValidate() {
        CLI::App* command = app.add_subcommand("validate", "Hold documents against an XML Schema");
        command
            ->add_option("--namespace", validating.namespaceUri,
                         "The namespace that the schema is for, if it is another than the schema says")
            ->type_name("URI");
        command->add_option("SCHEMA", validating.schema, "The schema")->required();
        command->add_option("FILE", validating.files, "The documents; '-' reads standard input")->required();
        command->callback([this] { verb = [this](Session& session) { validate(session, validating); }; });
    }

    void addTree() {
        CLI::App* command = app.add_subcommand("tree", "Outline the document: elements, attributes, texts");
        command->add_option("FILE", outlining.file, kFileHelp)->required();
        command->add_option("--depth", outlining.depth, "Show this many levels; the rest is only counted")
            ->type_name("N")
            ->check([](const std::string& text) {
                return isCount(text) ? "" : "'" + text + "' is not a number from 1 on";
            });
        command->callback([this] { verb = [this](Session& session) { tree(session, outlining); }; });
    }

    void addEvents() {
        CLI::App* command =
            app.add_subcommand("events", "Report elements and texts as they come, however long the file");
        command->add_option("FILE", reporting.file, kFileHelp)->required();
        command->add_flag("--json", reporting.json, "One JSON object a line");
        command->callback([this] { verb = [this](Session& session) { events(session, reporting); }; });
    }
};

int complain(int status, const std::string& message) {
    std::fprintf(stderr, "kelxml: %s\n", message.c_str());
    return status;
}

int complainAboutUsage(const CommandLine& line, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0)
        return line.app.exit(error);  // --help: CLI11 prints it to standard output
    const std::vector<CLI::App*> chosen = line.app.get_subcommands();
    if (!chosen.empty()) {
        const std::string verb = chosen.front()->get_name();
        return complain(kWrongUsage, verb + ": " + error.what() + "\nTry 'kelxml " + verb + " --help'.");
    }
    std::string verbs;
    for (const CLI::App* verb : line.app.get_subcommands({})) verbs += ' ' + verb->get_name();
    const std::vector<std::string> unknown = line.app.remaining();
    const std::string what =
        unknown.empty() ? "a verb is missing" : "there is no verb or option '" + unknown.front() + '\'';
    return complain(kWrongUsage, what + "\nThe verbs are:" + verbs + ". Try 'kelxml --help'.");
}

std::string describe(const _com_error& error) {
    char status[16];
    std::snprintf(status, sizeof status, "0x%08X", static_cast<unsigned int>(error.Error()));
    const _bstr_t description = error.Description();
    const OLECHAR* text = description;
    return std::string("engine error ") + status + ": " +
           (text != nullptr ? kel::toUtf8({text, description.length()}) : error.ErrorMessage());
}

int run(int argc, char** argv) {
    CommandLine line;
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return complainAboutUsage(line, error);
    }
    try {
        Session session(line.component);
        line.verb(session);
    } catch (const ReaderGone&) {
        return kDone;
    } catch (const Failure& failure) {
        return complain(failure.status(), failure.what());
    } catch (const _com_error& error) {
        return complain(kRefused, describe(error));
    } catch (const std::bad_alloc&) {
        return complain(kRefused, "the document does not fit into memory");
    } catch (const std::exception& error) {
        return complain(kRefused, error.what());
    }
    return kDone;
}

}  // namespace

}  // namespace kelxml

// What goes wrong while the command line itself is set up (no memory, mostly) may end the program as it
// likes.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    kelxml::ignoreClosedPipes();
    return kelxml::run(argc, argv);
}
