// What a document can do only with the help of the engine's other libraries. They depend on this one, so they
// bring themselves in: a transformer by registering, a schema collection by being put into a document.
// Threads: registration happens before threads start; a service serves any number of threads at once.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "engine/com/com.h"
#include "engine/dom/tree.h"
#include "engine/reader/events.h"

namespace engine::dom {

// What a service keeps with a tree, to be faster the next time. It goes with the tree.
class Kept {
public:
    Kept() = default;
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;
    virtual ~Kept() = default;
};

// A node and where it comes from, borrowed for a call.
struct NodeSource {
    const Tree& tree;
    NodeId node;
    std::string_view url;                   // the file its document was loaded from, UTF-8; empty: none
    std::unique_ptr<Kept>* kept = nullptr;  // the transformer's place in the tree's owner; null: none
};

// Failures leave as com::Failure with a description that a person can act on, and nothing else leaves but
// std::bad_alloc.
class Transformer {
public:
    [[nodiscard]] virtual std::u16string toText(const NodeSource& source, const NodeSource& styleSheet) = 0;
    // The result as a document, event by event, from startDocument to endDocument.
    virtual void toEvents(const NodeSource& source, const NodeSource& styleSheet,
                          reader::EventSink& result) = 0;

protected:
    ~Transformer() = default;
};

// Lends a transformer for the life of the process; null takes it away.
void setTransformer(Transformer* transformer) noexcept;
[[nodiscard]] Transformer* transformer() noexcept;  // null: this build has none

// What a schema collection answers to when it is put into a document.
struct ISchemaValidator : IUnknown {
    // Validates the document node or element. S_OK with `error` filled: not valid if its code is not 0.
    // A failure status (with error information) means that no validation took place.
    virtual HRESULT validateTree(const NodeSource& source, reader::ParseError* error) = 0;
};
inline constexpr IID IID_ISchemaValidator{
    0xA1F3C6D2, 0x0B5E, 0x4E0B, {0x8C, 0x57, 0x2D, 0x91, 0x64, 0xE8, 0x3F, 0x70}};

}  // namespace engine::dom
