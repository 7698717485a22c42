// What a document can do only with the help of the engine's other libraries. They depend on this one, so they
// bring themselves in: a transformer by registering, a schema collection by being put into a document.
// Threads: registration happens before threads start; a service serves any number of threads at once.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/com/object.h"
#include "engine/dom/tree.h"
#include "engine/reader/events.h"
#include "engine/reader/schemastream.h"

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
    std::string_view url;                       // the file its document was loaded from, UTF-8; empty: none
    std::unique_ptr<Kept>* kept = nullptr;      // what the transformer keeps with the tree; null: none
    std::unique_ptr<Kept>* keptCopy = nullptr;  // the evaluator's
};

// Errors leave as com::Exception with a description that a person can act on, and nothing else leaves but
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

// An expression of XPath 1.0, UTF-8, with what its prefixes stand for.
struct Expression {
    std::string text;
    std::vector<std::pair<std::string, std::string>> prefixes;
};

struct SelectedNode {
    static constexpr std::uint32_t kNoAttribute = 0xFFFFFFFF;
    NodeId node;
    std::uint32_t attribute;  // the index of one of the node's; kNoAttribute: the node itself
};

// What an expression comes to, in the form that was asked for.
struct ExpressionValue {
    enum class Kind : std::uint8_t { Nodes, Text, Number, Truth };
    std::vector<SelectedNode> nodes;  // in document order
    std::string text;
    double number = 0;
    bool isTrue = false;
};

// Thrown for an expression that is wrong, or asks for too much.
class ExpressionError final {
public:
    ExpressionError(std::string reason, std::uint32_t column) noexcept
        : reason_(std::move(reason)), column_(column) {}
    [[nodiscard]] const std::string& reason() const noexcept { return reason_; }
    [[nodiscard]] std::uint32_t column() const noexcept { return column_; }  // from 1; 0: not known

private:
    std::string reason_;
    std::uint32_t column_;
};

// Throws ExpressionError, and otherwise as a transformer does.
class Evaluator {
public:
    // `context` is a document or an element.
    [[nodiscard]] virtual ExpressionValue evaluate(const NodeSource& context, const Expression& expression,
                                                   ExpressionValue::Kind kind) = 0;

protected:
    ~Evaluator() = default;
};

// As for the transformer.
void setEvaluator(Evaluator* evaluator) noexcept;
[[nodiscard]] Evaluator* evaluator() noexcept;

// What a schema collection is asked for when it is put into a document.
struct ISchemaValidator : IUnknown {
    enum class Find : std::uint8_t { First, All };
    // Validates the document node or element. S_OK: `found` holds the first violation, without its path, or
    // all of them in document order; none: valid. A failure status (with error information) means that no
    // validation took place.
    virtual HRESULT validateTree(const NodeSource& source, Find find,
                                 std::vector<reader::Violation>* found) = 0;
};
inline constexpr IID IID_ISchemaValidator{
    0xA1F3C6D2, 0x0B5E, 0x4E0B, {0x8C, 0x57, 0x2D, 0x91, 0x64, 0xE8, 0x3F, 0x70}};

// What a document is asked for when it is to take the result of a transformation.
struct IContentTarget : IUnknown {
    // Takes the events that `fill` sends as the document's new content. What `fill` throws passes through,
    // and the document then keeps what it had.
    virtual void replaceContent(const std::function<void(reader::EventSink&)>& fill) = 0;
};
inline constexpr IID IID_IContentTarget{
    0x3C8E61D4, 0x7A0F, 0x4B1D, {0xA2, 0x6E, 0x90, 0x5B, 0xC1, 0x47, 0x2F, 0xE8}};

}  // namespace engine::dom

// clang-format off
template <> struct engine::com::InterfaceInfo<engine::dom::ISchemaValidator>
    : engine::com::detail::InterfaceFacts<engine::dom::ISchemaValidator, engine::dom::IID_ISchemaValidator, IUnknown> {};
template <> struct engine::com::InterfaceInfo<engine::dom::IContentTarget>
    : engine::com::detail::InterfaceFacts<engine::dom::IContentTarget, engine::dom::IID_IContentTarget, IUnknown> {};
// clang-format on
