// The verbs of kelxml. Each writes its result to standard output and throws Failure, ReaderGone, or what the
// component lets through; it then has written nothing of its result, unless the reader saw the beginning of a
// long one.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/kelxml/session.h"

namespace kelxml {

struct SaveOptions {
    std::string file;
    std::string out;  // empty: standard output
    bool force = false;
};
void save(Session& session, const SaveOptions& options);

struct TreeOptions {
    std::string file;
    int depth = 0;  // levels shown; 0: all
};
void tree(Session& session, const TreeOptions& options);

struct FormatOptions {
    std::string file;
    std::string out;  // empty: standard output
};
void format(Session& session, const FormatOptions& options);

struct TransformOptions {
    std::string style;
    std::string file;
    std::string out;  // empty: standard output
};
void transform(Session& session, const TransformOptions& options);

struct ValidateOptions {
    std::string schema;
    std::vector<std::string> files;
    std::optional<std::string> namespaceUri;  // by default the one that the schema is for
};
void validate(Session& session, const ValidateOptions& options);

struct EventsOptions {
    std::string file;
    bool json = false;
};
void events(Session& session, const EventsOptions& options);

void info(Session& session);

}  // namespace kelxml
