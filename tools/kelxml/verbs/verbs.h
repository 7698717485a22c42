// The verbs of kelxml. Each writes its result to standard output and throws Exception, Reported, ReaderGone,
// or what the component lets through; it then has written nothing of its result, unless the reader saw the
// beginning of a long one, or the results of other documents.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/kelxml/documents/session.h"
#include "tools/kelxml/verbs/changes.h"
#include "tools/kelxml/verbs/parameters.h"

namespace kelxml {

struct SaveOptions {
    std::string file;
    std::string out;  // empty or "-": standard output
    bool force = false;
    bool allowDtd = false;
};
void save(Session& session, const SaveOptions& options);

struct TreeOptions {
    std::vector<std::string> files;
    int depth = 0;  // levels shown; 0: all
    bool allowDtd = false;
};
void tree(Session& session, const TreeOptions& options);

struct FormatOptions {
    std::vector<std::string> files;
    std::string out;           // empty or "-": standard output
    std::string indent = "2";  // spaces a level, or "tab"
    bool inPlace = false;
    bool checkOnly = false;  // report what would change, and change nothing
    bool allowDtd = false;
};
void format(Session& session, const FormatOptions& options);

struct TransformOptions {
    std::string style;
    std::vector<std::string> files;
    std::string out;        // empty or "-": standard output
    std::string folder;     // where each result gets the name of its document; empty: none
    std::string extension;  // of these names, ".html"; empty: that of the document
    Parameters parameters;
    bool allowDtd = false;
};
void transform(Session& session, const TransformOptions& options);

struct ValidateOptions {
    std::string schema;
    std::vector<std::string> files;
    std::optional<std::string> namespaceUri;  // by default the one that the schema is for
};
void validate(Session& session, const ValidateOptions& options);

struct CheckOptions {
    std::vector<std::string> files;
};
void check(Session& session, const CheckOptions& options);

struct SelectOptions {
    std::string expression;
    std::vector<std::string> files;
    std::vector<std::string> prefixes;  // "PREFIX=URI"
    std::string form = "text";          // or "xml", "json"
    bool isCountWanted = false;
    bool allowDtd = false;
};
void select(Session& session, const SelectOptions& options);  // Reported if nothing was selected

struct EditOptions {
    std::vector<std::string> files;
    std::vector<std::string> prefixes;  // "PREFIX=URI"
    std::vector<Edit> edits;            // in their order
    std::string out;                    // empty or "-": standard output
    bool inPlace = false;
    bool allowDtd = false;
};
void edit(Session& session, const EditOptions& options);

struct EventsOptions {
    std::vector<std::string> files;
    bool json = false;
};
void events(Session& session, const EventsOptions& options);

struct DumpOptions {
    std::vector<std::string> files;
};
void dump(const DumpOptions& options);  // of data-model files; needs no component

void info(Session& session);

// To standard output: this program, the component (an empty path means the one that belongs here) and the
// libraries that came with it. A component that cannot be loaded is reported there. Throws like Output.
void showVersions(const std::string& component);

// Throws Exception if a step fails, after the last one.
void selfTest(Session& session);

}  // namespace kelxml
