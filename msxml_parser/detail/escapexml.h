// Escaping of names, texts and attribute values for the XML writer.
// Threads: no shared state.
#pragma once

#include <string>

#include "KelBasicTypes/kelstring.h"

// Replaces & < > " by their entities, in place, skipping some that look escaped already; not every text comes
// out well formed (see behaviour.md, "Escaping"). Linear in the length. Returns true.
bool escapeXml(KelString& text);

namespace msxml {

// The same for a text at the end of a buffer. Keeps its own buffer between calls.
class XmlEscaper final {
public:
    // Escapes `buffer` from `start` to its end.
    void escapeTail(std::u16string& buffer, std::size_t start);

private:
    std::u16string scratch_;
};

}  // namespace msxml
