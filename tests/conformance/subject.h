// What is tested: the engine's SAX reader and document through their public operations, and the two parsers
// behind them, each alone. Threads: one, with COM initialised.
#pragma once

#include <string>
#include <string_view>

namespace conformance {

struct Outcome {
    bool accepted = false;
    std::string reason;     // of a rejection, as the engine words it
    std::string canonical;  // what was reported; complete when accepted
    // Set when two routes to the same result disagree: the engine contradicts itself, whatever the test
    // wants.
    std::string contradiction;
    std::string saved;  // an accepted document, written as it is
};

// Reads with the engine's SAX reader; its status decides. The reader's events, which hold more than the
// content handler receives, give the canonical form; both must report the same.
[[nodiscard]] Outcome tryStream(const std::string& path);

// Loads into a document with all white space kept; its result decides.
[[nodiscard]] Outcome tryDocument(const std::string& path);
[[nodiscard]] Outcome tryDocumentText(const std::u16string& text);

// One parser alone. The direct parser rejects every document with a DOCTYPE.
[[nodiscard]] Outcome tryDirect(const std::string& path);
[[nodiscard]] Outcome tryDirectText(const std::u16string& text);
[[nodiscard]] Outcome tryLibxml2(const std::string& path);
// What the two parsers do differently on a document without a DOCTYPE; empty: nothing.
[[nodiscard]] std::string disagreement(const std::string& path);

// A third opinion: expat's, with namespaces. Only its verdict and its reason are set.
[[nodiscard]] Outcome tryExpat(const std::string& path);

}  // namespace conformance
