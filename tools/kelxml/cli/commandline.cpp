// Each verb is defined where its options are: name, help, what it does.
#include "tools/kelxml/cli/commandline.h"

#include <utility>

#include <CLI/CLI.hpp>

#include "host/text.h"
#include "tools/kelxml/cli/pages.h"
#include "tools/kelxml/cli/usage.h"
#include "tools/kelxml/files/batch.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/output.h"

namespace kelxml {

namespace {

std::string fileHelp() {
    return tr("the document; '-' reads standard input");
}

std::string filesHelp() {
    return tr("the documents; '-' reads standard input");
}

CLI::Option& addArgument(CLI::App& command, const char* name, std::string& value, std::string help) {
    return *command.add_option(name, value, std::move(help))->required();
}

CLI::Option& addArguments(CLI::App& command, std::vector<std::string>& values) {
    return *command.add_option("FILE", values, filesHelp())->required();
}

// The last one given counts, so that an alias can be overruled.
template <class Value>
CLI::Option& addOption(CLI::App& command, const char* names, Value& value, const char* valueName,
                       std::string help) {
    return *command.add_option(names, value, std::move(help))
                ->type_name(valueName)
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

void addOutput(CLI::App& command, std::string& out) {
    addOption(command, "-o,--output", out, "OUT",
              tr("write to OUT, which is replaced only when all is well; without it, or for '-', to standard "
                 "output"));
}

// May be given any number of times, each with one value.
void addParameters(CLI::App& command, const char* names, std::vector<std::string>& values,
                   const char* valueName, std::string help) {
    command.add_option(names, values, std::move(help))->type_name(valueName)->allow_extra_args(false);
}

void addPrefixes(CLI::App& command, std::vector<std::string>& values) {
    addParameters(command, "-n,--namespace", values, "PREFIX=URI",
                  tr("bind a prefix to a namespace for expressions"));
}

void addAllowDtd(CLI::App& command, bool& value) {
    command.add_flag(
        "--allow-dtd", value,
        tr("take documents with a DOCTYPE: entities of its internal subset expand, within limits; "
           "nothing else is read"));
}

bool isCount(const std::string& text) {
    return !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos &&
           text.find_first_not_of('0') != std::string::npos;
}

void requireCount(CLI::Option& option) {
    option.check([](const std::string& text) {
        return isCount(text) ? std::string() : tr("'%1' is not a number from 1 on", text);
    });
}

void requireChoice(CLI::Option& option, const std::string& choices) {
    option.check([choices](const std::string& text) {
        for (const std::string& choice : choicesOf(choices)) {
            if (text == choice) return std::string();
        }
        return tr("'%1' is not one of %2", text, choices);
    });
}

}  // namespace

CommandLine::CommandLine()
    : app_(std::make_unique<CLI::App>(tr("read, write, check and transform XML"), "kelxml")) {
    app_->require_subcommand(0, 1);            // parse() has its own words for a missing one
    app_->allow_windows_style_options(false);  // "/x" is a path everywhere
    app_->fallthrough();
    app_->set_help_flag("-h,--help", tr("explain, with examples; after a verb, that verb"));
    addGlobals();
    addVerb("check", tr("report whether documents are well formed"), &CommandLine::defineCheck);
    addVerb("tree", tr("outline documents: elements, attributes, texts"), &CommandLine::defineTree);
    addVerb("format", tr("indent documents without loss"), &CommandLine::defineFormat);
    addVerb("validate", tr("validate documents against an XML Schema"), &CommandLine::defineValidate);
    addVerb("select", tr("show what an XPath expression selects"), &CommandLine::defineSelect);
    addVerb("edit", tr("change what XPath expressions select"), &CommandLine::defineEdit);
    addVerb("transform", tr("apply an XSLT style sheet"), &CommandLine::defineTransform);
    addVerb("events", tr("report elements and texts as they come, however long the document"),
            &CommandLine::defineEvents);
    addVerb("save", tr("write a document with the component's own writer and check the result"),
            &CommandLine::defineSave);
    addVerb("dump", tr("show the records of data-model files"), &CommandLine::defineDump);
    addVerb("info", tr("show what the component is and offers"), &CommandLine::defineInfo);
    addVerb("selftest", tr("try every class and every operation of the component"),
            &CommandLine::defineSelfTest);
    addVerb("completion", tr("write the completion script of a shell"), &CommandLine::defineCompletion);
    // Hidden: the build and the packages call it.
    addVerb("manual", tr("write the manual page"), &CommandLine::defineManual).group("");
    addVerb("help", tr("explain the program or one of its verbs"), &CommandLine::defineHelp);
}

CommandLine::~CommandLine() = default;

void CommandLine::addGlobals() {
    app_->add_flag("--version", isVersionWanted_,
                   tr("show the versions of program, component and libraries"));
    CLI::Option& colour =
        addOption(*app_, "--color", colours_, "auto|always|never",
                  tr("colours: on a terminal unless NO_COLOR is set (auto), always, or never"));
    requireChoice(colour, "auto|always|never");
    CLI::Option& diagnostics =
        addOption(*app_, "--diagnostics", diagnostics_, "text|json",
                  tr("messages as FILE:LINE:COLUMN: error: reason (text), or as JSON objects"));
    requireChoice(diagnostics, "text|json");
    app_->add_flag("-q,--quiet", isQuiet_, tr("say nothing but errors"));
    CLI::Option& jobs = addOption(*app_, "--jobs", jobs_, "N",
                                  tr("work on this many files at a time; by default one for each processor"));
    requireCount(jobs);
    addOption(*app_, "--component", component_, "PATH",
              tr("the component library to load instead of the one that belongs to this program"));
}

CLI::App& CommandLine::addVerb(const char* name, std::string summary, Definition definition) {
    CLI::App& command = *app_->add_subcommand(name, std::move(summary));
    undefined_[&command] = definition;
    command.preparse_callback([this, &command](std::size_t /*rest*/) { define(command); });
    return command;
}

void CommandLine::define(CLI::App& command) {
    if (const auto found = undefined_.extract(&command)) (this->*found.mapped())(command);
}

void CommandLine::setWork(CLI::App& command, Notes notes, Work work) {
    notes_[&command] = std::move(notes);
    command.callback([this, work = std::move(work)] { work_ = work; });
}

void CommandLine::setWork(CLI::App& command, Notes notes, std::function<void(Session&)> work) {
    setWork(command, std::move(notes), Work([this, work = std::move(work)] {
                Session session(kelhost::pathOf(component_));
                work(session);
            }));
}

void CommandLine::defineTree(CLI::App& command) {
    setWork(
        command,
        {tr("Shows one element a line, indented by its level, with its attributes and its text shortened to "
            "fit."),
         {{"kelxml tree --depth 2 catalogue.xml", tr("the first two levels of a large document")},
          {"curl -s https://example.org/feed | kelxml tree -", tr("what a server sends")}}},
        [this](Session& session) { tree(session, outlining_); });
    addArguments(command, outlining_.files);
    requireCount(addOption(command, "-d,--depth", outlining_.depth, "N",
                           tr("show this many levels; what lies deeper is only counted")));
    addAllowDtd(command, outlining_.allowDtd);
}

void CommandLine::defineCheck(CLI::App& command) {
    setWork(
        command,
        {tr("Nothing is written for a document that is. Documents of any length are read in constant memory; "
            "the internal subset of a DOCTYPE is read, nothing external is."),
         {{"kelxml check *.xml", tr("check all documents of a folder")},
          {"kelxml check -q --diagnostics=json feed.xml", tr("report errors to a program")}}},
        [this](Session& session) { check(session, checking_); });
    addArguments(command, checking_.files);
}

void CommandLine::defineFormat(CLI::App& command) {
    setWork(
        command,
        {tr("Only white space between elements changes, and the writing of references and tags: comments, "
            "CDATA sections, mixed content, xml:space, the declaration and the encoding stay. Formatting the "
            "result again changes nothing."),
         {{"kelxml format messy.xml | less", tr("read what a program wrote on one line")},
          {"kelxml format --in-place *.xml", tr("format all documents of a folder")},
          {"kelxml format --check *.xml", tr("reject a commit of documents that are not formatted")}}},
        [this](Session& session) { format(session, formatting_); });
    addArguments(command, formatting_.files);
    command.add_flag("-i,--in-place", formatting_.inPlace,
                     tr("replace each document that is not formatted yet"));
    command.add_flag("--check", formatting_.checkOnly,
                     tr("change nothing; exit status 1 if a document is not formatted"));
    addOption(command, "--indent", formatting_.indent, "WIDTH",
              tr("spaces for each level, 0 to 16, or a tab; by default 2"))
        .check([](const std::string& text) {
            const bool isWidth = text == "0" || (isCount(text) && text.size() < 3 && std::stoi(text) <= 16);
            return isWidth || text == "tab" ? std::string()
                                            : tr("'%1' is neither a number from 0 to 16 nor 'tab'", text);
        });
    addAllowDtd(command, formatting_.allowDtd);
    addOutput(command, formatting_.out);
}

void CommandLine::defineSave(CLI::App& command) {
    setWork(
        command,
        {tr("The writer keeps elements, attributes and texts, one element a line; it is made for records. "
            "The "
            "result is read back and compared: where it would say something else, the first differences are "
            "listed "
            "and nothing is written."),
         {{"kelxml save in.xml -o out.xml", tr("write, and know that nothing was lost")},
          {"kelxml save --force in.xml -o in.xml", tr("replace the document even if texts change")}}},
        [this](Session& session) { save(session, saving_); });
    addArgument(command, "FILE", saving_.file, fileHelp());
    command.add_flag("-f,--force", saving_.force,
                     tr("write even if elements, attributes or texts would differ"));
    addAllowDtd(command, saving_.allowDtd);
    addOutput(command, saving_.out);
}

void CommandLine::defineTransform(CLI::App& command) {
    setWork(
        command,
        {tr("The result is in the encoding that the style sheet asks for, else UTF-8. Style sheets may "
            "include "
            "and import local files; the network, writing files and other documents are denied. Messages of "
            "the style sheet, and what it asks for that is not known, are reported on standard error."),
         {{"kelxml transform report.xsl data.xml -o report.html", tr("make a page of a document")},
          {"kelxml transform -p title=Shelf page.xsl *.xml --folder site --extension .html",
           tr("a page of each document, with a parameter")},
          {"kelxml transform - data.xml < report.xsl",
           tr("a style sheet from standard input; what it imports is looked for in the working folder")}}},
        [this](Session& session) { transform(session, transforming_); });
    addArgument(command, "STYLE", transforming_.style, tr("the style sheet; '-' reads standard input"));
    addArguments(command, transforming_.files);
    addOutput(command, transforming_.out);
    addOption(command, "--folder", transforming_.folder, "PATH",
              tr("write each result into this folder, under the name of its document"));
    addOption(command, "--extension", transforming_.extension, "EXT",
              tr("the extension of these names, such as .html, in place of the document's"));
    addParameters(command, "-p,--param", transforming_.parameters.texts, "NAME=TEXT",
                  tr("set a parameter to a text; {URI}NAME for one in a namespace"));
    addParameters(command, "--number", transforming_.parameters.numbers, "NAME=N",
                  tr("set a parameter to a number"));
    addParameters(command, "--truth", transforming_.parameters.truths, "NAME=TRUTH",
                  tr("set a parameter to true or false"));
    addAllowDtd(command, transforming_.allowDtd);
}

void CommandLine::defineValidate(CLI::App& command) {
    setWork(
        command,
        {tr("Each document is reported as valid, or with everything that is wrong with it and where. The "
            "schema's own imports and includes are read from local files only. Documents of more than 16 MB "
            "are read in constant memory; values of type xs:ID that occur twice are then not found."),
         {{"kelxml validate order.xsd orders/*.xml", tr("validate a folder against one schema")},
          {"kelxml validate order.xsd - < order.xml", tr("validate standard input")}}},
        [this](Session& session) { validate(session, validating_); });
    addArgument(command, "SCHEMA", validating_.schema, tr("the schema; '-' reads standard input"));
    addArguments(command, validating_.files);
    addOption(command, "-n,--namespace", validating_.namespaceUri, "URI",
              tr("the namespace that the schema is for, if it is another than the schema says"));
}

void CommandLine::defineSelect(CLI::App& command) {
    setWork(
        command,
        {tr("Elements, attributes, texts and values, each on a line of its own. Prefixes are those that the "
            "root element declares; its default namespace has the prefix '_'. Exit status 1 if nothing was "
            "selected."),
         {{"kelxml select '//book[@year < 1900]/@title' shelf.xml", tr("the values of attributes")},
          {"kelxml select --as json //_:entry feed.xml | jq .text", tr("elements, for another program")},
          {"kelxml select --count //error *.log.xml", tr("how many there are in each document")}}},
        [this](Session& session) { select(session, selecting_); });
    addArgument(command, "XPATH", selecting_.expression, tr("the expression, of XPath 1.0"));
    addArguments(command, selecting_.files);
    requireChoice(addOption(command, "--as", selecting_.form, "text|xml|json",
                            tr("how to show it: the text (the default), the XML, or one JSON object a line "
                               "with file, line and column")),
                  "text|xml|json");
    command.add_flag("-c,--count", selecting_.isCountWanted, tr("show only how much is selected"));
    addPrefixes(command, selecting_.prefixes);
    addAllowDtd(command, selecting_.allowDtd);
}

void CommandLine::defineEdit(CLI::App& command) {
    setWork(
        command,
        {tr("The changes are made in the order in which they are given. Everything else stays as it is, "
            "white space included. An expression that ends in '/@name' selects attributes."),
         {{"kelxml edit --set //price/@currency EUR -i shop.xml", tr("set an attribute of many elements")},
          {"kelxml edit --delete '//book[@year < 1900]' shelf.xml -o new.xml", tr("leave elements out")},
          {"kelxml edit --rename //author writer --append /shelf '<book/>' shelf.xml",
           tr("two changes, one after the other")}}},
        [this](Session& session) {
            collectEdits(*chosenVerb());
            edit(session, editing_);
        });
    const auto add = [&](const char* name, Edit::Kind kind, const char* valueName, std::string help) {
        const int count = kind == Edit::Kind::Delete ? 1 : 2;
        CLI::Option* option = command.add_option(name, changes_[kind], std::move(help))
                                  ->type_name(valueName)
                                  ->type_size(count)
                                  ->allow_extra_args(false);
        kinds_[option] = kind;
    };
    add("--set", Edit::Kind::Set, "XPATH TEXT", tr("set the text of elements, or attributes"));
    add("--delete", Edit::Kind::Delete, "XPATH", tr("delete elements or attributes"));
    add("--rename", Edit::Kind::Rename, "XPATH NAME", tr("rename elements or attributes"));
    add("--append", Edit::Kind::Append, "XPATH XML", tr("insert elements as the last children"));
    add("--before", Edit::Kind::Before, "XPATH XML", tr("insert elements before others"));
    add("--after", Edit::Kind::After, "XPATH XML", tr("insert elements after others"));
    addArguments(command, editing_.files);
    command.add_flag("-i,--in-place", editing_.inPlace, tr("replace each document by the changed one"));
    addOutput(command, editing_.out);
    addPrefixes(command, editing_.prefixes);
    addAllowDtd(command, editing_.allowDtd);
}

// The library keeps the values by option; their order on the command line is that in which it met their
// options, once for each value.
void CommandLine::collectEdits(const CLI::App& command) {
    std::map<const CLI::Option*, std::size_t> taken;
    bool isArgumentNext = false;
    for (const CLI::Option* option : command.parse_order()) {
        const auto kind = kinds_.find(option);
        if (kind == kinds_.end()) continue;
        const std::string& value = option->results().at(taken[option]++);
        if (isArgumentNext)
            editing_.edits.back().argument = value;
        else
            editing_.edits.push_back({kind->second, value, {}});
        isArgumentNext = !isArgumentNext && kind->second != Edit::Kind::Delete;
    }
}

void CommandLine::defineEvents(CLI::App& command) {
    setWork(command,
            {tr("The document is never held in memory. With --json each event is one JSON object on a "
                "line of its own, as events.schema.json in the documentation describes; of several "
                "documents each begins with one that names the file."),
             {{"kelxml events huge.xml | head", tr("look into a document that fits into no editor")},
              {"kelxml events --json log.xml | jq -r 'select(.event == \"text\").text'",
               tr("all texts of a document, by way of another program")}}},
            [this](Session& session) { events(session, reporting_); });
    addArguments(command, reporting_.files);
    command.add_flag("-j,--json", reporting_.json, tr("one JSON object a line, for programs"));
}

void CommandLine::defineDump(CLI::App& command) {
    setWork(command,
            {tr("Shows one record a line: the byte where it starts, its tag, its kind and its "
                "value, indented by its "
                "level. A damaged file is shown up to the damage."),
             {{"kelxml dump shelf.kel", tr("what a program has stored, and at which byte")}}},
            [this] { dump(dumping_); });
    command.add_option("FILE", dumping_.files, tr("the data-model files; '-' reads standard input"))
        ->required();
}

void CommandLine::defineInfo(CLI::App& command) {
    setWork(command, {}, info);
}

void CommandLine::defineSelfTest(CLI::App& command) {
    setWork(
        command,
        {tr("Works on small documents of its own and reports each step. Exit status 1 if a step fails."), {}},
        selfTest);
}

void CommandLine::defineCompletion(CLI::App& command) {
    setWork(
        command,
        {{}, {{"source <(kelxml completion bash)", tr("complete verbs, options and files in this bash")}}},
        [this] {
            const Program program = describe();
            writeText(shell_ == "bash"  ? bashCompletion(program)
                      : shell_ == "zsh" ? zshCompletion(program)
                                        : fishCompletion(program));
        });
    requireChoice(addArgument(command, "bash|zsh|fish", shell_, tr("the shell")), "bash|zsh|fish");
}

void CommandLine::defineManual(CLI::App& command) {
    setWork(command, {}, Work([this] { writeText(manualPage(describe())); }));
}

void CommandLine::defineHelp(CLI::App& command) {
    setWork(command, {}, [this] { showHelp(); });
    command.add_option("VERB", topic_, tr("the verb to explain"));
}

void CommandLine::showHelp() {
    const Program program = describe();
    if (topic_.empty()) return writeText(helpOn(program));
    const Verb* verb = program.find(topic_);
    if (verb == nullptr) throw Exception(kWrongUsage, unknownVerb(topic_, program));
    writeText(helpOn(program, *verb));
}

const CLI::App* CommandLine::chosenVerb() const {
    const std::vector<CLI::App*> chosen = app_->get_subcommands();
    return chosen.empty() ? nullptr : chosen.front();
}

CommandLine::Work CommandLine::parse(int argc, const char* const* argv) {
    try {
        app_->parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        if (const CLI::App* verb = chosenVerb()) topic_ = verb->get_name();
        return [this] { showHelp(); };
    } catch (const CLI::ParseError& error) {
        throw Exception(kWrongUsage, explainUsage(*app_, chosenVerb(), error, describe()));
    }
    if (!colours_.empty())
        chooseColour(colours_ == "always"  ? ColourChoice::Always
                     : colours_ == "never" ? ColourChoice::Never
                                           : ColourChoice::OnTerminals);
    if (diagnostics_ == "json") chooseDiagnosticForm(DiagnosticForm::Json);
    if (isQuiet_) reportErrorsOnly();
    if (jobs_ > 0) chooseJobs(static_cast<unsigned>(jobs_));
    if (isVersionWanted_) return [this] { showVersions(component_); };
    if (!work_) throw Exception(kWrongUsage, explainNoVerb(describe()));
    return work_;
}

}  // namespace kelxml
