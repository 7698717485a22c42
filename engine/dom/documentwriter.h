// Writes a tree as the text of a document that reads back as the same tree: declaration, comments,
// instructions, CDATA sections and mixed content included.
//
// Markup is put together as UTF-8 in one buffer of 64 KB, straight from the tree's texts; where the document
// is in another encoding, the buffer is converted whenever it is full. What the encoding has no code for
// becomes a reference where one can stand. Threads: as the tree.
#pragma once

#include <string_view>

#include "engine/dom/tree.h"

namespace engine::dom {

// Where the bytes go.
class ByteSink {
public:
    virtual void put(std::string_view bytes) = 0;  // throws when it cannot take them

protected:
    ~ByteSink() = default;
};

struct WriteSettings {
    enum class Declaration : std::uint8_t { AsLoaded, Never, WithoutEncoding };

    std::string_view encoding;  // empty: the one that the document declares, else UTF-8
    Declaration declaration = Declaration::AsLoaded;
    // An element a line: only in elements that hold elements and no text, outside mixed content and
    // xml:space="preserve", so that a reader that drops layout white space sees no difference.
    bool indent = false;
    char indentBy = '\t';  // or a space
    std::uint8_t indentCount = 1;
};

// Throws com::Exception (E_INVALIDARG) for what XML or the encoding cannot hold, an unknown encoding and an
// undeclared prefix, and what the sink throws. Linear; no stack is used.
void writeDocument(const Tree& tree, const WriteSettings& settings, ByteSink& sink);

}  // namespace engine::dom
