// The verbs of kelxml. Each writes its result to standard output and throws Failure, ReaderGone, or what the
// component lets through; it then has written nothing of its result, unless the reader saw the beginning of a
// long one.
#pragma once

#include <string>

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

struct EventsOptions {
    std::string file;
    bool json = false;
};
void events(Session& session, const EventsOptions& options);

void info(Session& session);

}  // namespace kelxml
