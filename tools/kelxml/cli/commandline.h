// The command line: its one definition. Help, man page and shell completion are read off it.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/kelxml/cli/program.h"
#include "tools/kelxml/verbs/verbs.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace kelxml {

class CommandLine {
public:
    CommandLine();  // texts are in the user's language from here on
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;
    ~CommandLine();

    // What is to be done. Throws Exception (wrong usage) whose message says what would be accepted. Help and
    // version are things to do, too.
    using Work = std::function<void()>;
    [[nodiscard]] Work parse(int argc, const char* const* argv);

    [[nodiscard]] Program describe();

private:
    struct Notes {
        std::string details;
        std::vector<Example> examples;
    };

    // What a verb takes and does. A run needs one of them: each is defined when its verb is met on the
    // command line, or when the program is described.
    using Definition = void (CommandLine::*)(CLI::App&);

    CLI::App& addVerb(const char* name, std::string summary, Definition definition);
    void define(CLI::App& command);  // unless it is
    void setWork(CLI::App& command, Notes notes, Work work);
    void setWork(CLI::App& command, Notes notes, std::function<void(Session&)> work);
    void addGlobals();
    void defineSave(CLI::App& command);
    void defineFormat(CLI::App& command);
    void defineTree(CLI::App& command);
    void defineCheck(CLI::App& command);
    void defineSelect(CLI::App& command);
    void defineEdit(CLI::App& command);
    void collectEdits(const CLI::App& command);
    void defineEvents(CLI::App& command);
    void defineTransform(CLI::App& command);
    void defineValidate(CLI::App& command);
    void defineDump(CLI::App& command);
    void defineInfo(CLI::App& command);
    void defineSelfTest(CLI::App& command);
    void defineCompletion(CLI::App& command);
    void defineManual(CLI::App& command);
    void defineHelp(CLI::App& command);

    void showHelp();
    [[nodiscard]] const CLI::App* chosenVerb() const;

    std::unique_ptr<CLI::App> app_;  // included by the sources alone: the library takes long to compile
    std::map<CLI::App*, Definition> undefined_;
    std::map<const CLI::App*, Notes> notes_;
    Work work_;

    std::string component_;
    std::string colours_;
    std::string diagnostics_;
    int jobs_ = 0;  // 0: not given
    bool isQuiet_ = false;
    bool isVersionWanted_ = false;
    CheckOptions checking_;
    SaveOptions saving_;
    FormatOptions formatting_;
    TreeOptions outlining_;
    TransformOptions transforming_;
    ValidateOptions validating_;
    SelectOptions selecting_;
    EditOptions editing_;
    EventsOptions reporting_;
    DumpOptions dumping_;
    std::map<Edit::Kind, std::vector<std::string>> changes_;  // as the library has them
    std::map<const CLI::Option*, Edit::Kind> kinds_;
    std::string shell_;
    std::string topic_;
};

}  // namespace kelxml
