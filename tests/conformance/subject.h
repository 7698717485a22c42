// What is on trial: the SAX reader and the document of the engine, each through its public operations.
// Threads: one, with COM initialised.
#pragma once

#include <string>
#include <string_view>

namespace conformance {

struct Outcome {
    bool accepted = false;
    std::string reason;     // of a refusal, as the engine words it
    std::string canonical;  // what was reported; complete when accepted
    // Set when two routes to the same answer disagree: the engine contradicts itself, whatever the test
    // wants.
    std::string contradiction;
};

// Reads with the engine's SAX reader; its status decides. The events behind it, which tell more than the
// content handler gets, give the canonical form; both must report the same, and so must both parsers behind
// the reader.
[[nodiscard]] Outcome tryStream(const std::string& path);

// Loads into a document with all white space kept; its result decides.
[[nodiscard]] Outcome tryDocument(const std::string& path);

}  // namespace conformance
