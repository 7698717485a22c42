// The suite's canonical form: what a parser reports, written so that two reports can be compared byte by
// byte. Comments and the document type are left out, attributes are sorted, every character that could be
// written in two ways is written in one. Threads: one.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace conformance {

class CanonicalWriter {
public:
    using Attributes = std::vector<std::pair<std::string, std::string>>;  // name as written, value

    void startElement(std::string_view name, Attributes attributes);
    void endElement(std::string_view name);
    void characters(std::string_view text);
    void processingInstruction(std::string_view target, std::string_view data);

    [[nodiscard]] const std::string& text() const { return text_; }

private:
    void escaped(std::string_view text);

    std::string text_;
};

// One of the suite's output files without its document type: notations are declared there, and no event of
// ours reports a declaration. Throws std::runtime_error when the file cannot be read.
[[nodiscard]] std::string readCanonicalFile(const std::string& path);

// Canonical XML of a whole document, comments included, as another library writes it; nothing if that rejects
// the document, or can give it no such form, as for one with relative namespace URIs.
[[nodiscard]] std::optional<std::string> canonicalByPeer(std::string_view bytes);

[[nodiscard]] std::string readFile(const std::string& path);  // throws likewise

}  // namespace conformance
