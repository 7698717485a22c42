// The changes that `kelxml edit` makes to a document. Threads: the document's.
#pragma once

#include <string>
#include <vector>

#include "tools/kelxml/documents/expression.h"

namespace kelxml {

struct Edit {
    enum class Kind { Set, Delete, Rename, Append, Before, After };

    Kind kind = Kind::Set;
    std::string expression;  // elements; attributes where it ends in "/@name"
    std::string argument;    // the text, the new name, or the XML of elements
};

// Makes it. Returns how many elements or attributes it changed. Throws Exception; the document is then of no
// use.
[[nodiscard]] std::size_t apply(const Edit& edit, const Session& session, IKelDOMXmlV3& document,
                                const Prefixes& prefixes);

}  // namespace kelxml
