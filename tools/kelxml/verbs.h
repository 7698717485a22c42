// The verbs of kelxml. Each writes its result to standard output and throws Failure, ReaderGone, or what the
// component lets through; it then has written nothing of its result, unless the reader saw the beginning of a
// long one, or the results of earlier documents.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/kelxml/session.h"

namespace kelxml {

struct SaveOptions {
    std::string file;
    std::string out;  // empty or "-": standard output
    bool force = false;
};
void save(Session& session, const SaveOptions& options);

struct TreeOptions {
    std::vector<std::string> files;
    int depth = 0;  // levels shown; 0: all
};
void tree(Session& session, const TreeOptions& options);

struct FormatOptions {
    std::vector<std::string> files;
    std::string out;  // empty or "-": standard output
    bool inPlace = false;
};
void format(Session& session, const FormatOptions& options);

struct TransformOptions {
    std::string style;
    std::string file;
    std::string out;  // empty or "-": standard output
};
void transform(Session& session, const TransformOptions& options);

struct ValidateOptions {
    std::string schema;
    std::vector<std::string> files;
    std::optional<std::string> namespaceUri;  // by default the one that the schema is for
};
void validate(Session& session, const ValidateOptions& options);

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

// Throws Failure if a step fails, after the last one.
void selfTest(Session& session);

}  // namespace kelxml
