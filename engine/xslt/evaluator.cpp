// Expressions over a tree. Those that only lead forwards are found on the tree itself (see forwardpath.h);
// all others are evaluated by libxml2 over a copy of it. The copy stays with the tree until the tree changes,
// so that a further expression costs only itself.
//
// An expression is compiled twice: as it was written, which finds errors where they stand, and with steps
// from several nodes replaced (see steps.h), which is what is evaluated. Work is limited as that of a
// transformation is; an expression that could nest deep gets a stack of its own.
#include "engine/xslt/evaluator.h"

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <cstdarg>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "engine/com/status.h"
#include "engine/libstate/libstate.h"
#include "engine/text/worded.h"
#include "engine/xml2/errors.h"
#include "engine/xml2/treeexport.h"
#include "engine/xslt/forwardpath.h"
#include "engine/xslt/meter.h"
#include "engine/xslt/platform/stack.h"
#include "engine/xslt/steps.h"

namespace engine::xslt {

namespace {

using dom::Expression;
using dom::ExpressionError;
using dom::ExpressionValue;
using dom::NodeId;
using dom::SelectedNode;
using dom::Tree;
using text::worded;
using xml2::chars;
using xml2::orThrow;
using xml2::view;

using ContextHandle = std::unique_ptr<xmlXPathContext, xml2::FreeBy<xmlXPathFreeContext>>;
using CompiledHandle = std::unique_ptr<xmlXPathCompExpr, xml2::FreeBy<xmlXPathFreeCompExpr>>;
using ObjectHandle = std::unique_ptr<xmlXPathObject, xml2::FreeBy<xmlXPathFreeObject>>;

constexpr int kFirstCode = XML_XPATH_EXPRESSION_OK;  // of its codes for expressions
constexpr std::size_t kBytesPerLevel = 2000;         // of stack, for what one more character may nest
constexpr std::size_t kMaxLevels = 5000;             // libxml2's own limit
constexpr std::size_t kReserve = std::size_t{128} << 10;
constexpr std::size_t kBigStack = std::size_t{64} << 20;
constexpr std::size_t kLongestExpression = std::size_t{1} << 20;

// The copy of a tree that expressions look at.
class Copy final : public dom::Kept {
public:
    Copy(const Tree& tree, NodeId root, const std::string& uri)
        : root_(root), revision_(tree.revision()), copy_(xml2::exportTree(tree, root, options(uri))) {
        (void)xmlXPathOrderDocElems(&copy_.doc());  // for libxml2's own comparisons
        numberNodes(copy_.doc());
    }

    [[nodiscard]] bool isOf(const Tree& tree, NodeId root) const noexcept {
        return root_ == root && revision_ == tree.revision();
    }
    [[nodiscard]] xmlDoc& doc() const noexcept { return copy_.doc(); }
    [[nodiscard]] const xml2::Extent& extent() const noexcept { return copy_.extent(); }

    // The copy of an element, or the document.
    [[nodiscard]] xmlNode* find(NodeId node) {
        if (node == root_ && node == dom::kDocumentNode) return reinterpret_cast<xmlNode*>(&doc());
        if (elements_.empty()) indexElements();
        return node < elements_.size() ? elements_[node] : nullptr;
    }

private:
    static xml2::ExportOptions options(const std::string& uri) {
        xml2::ExportOptions options;
        options.uri = uri;
        options.depthLimit = kSourceDepthLimit;
        options.declarationLimit = kDeclarationLimit;
        return options;
    }

    void indexElements() {
        for (xmlNode* at = doc().children; at != nullptr;) {
            if (at->type == XML_ELEMENT_NODE) {
                const NodeId id = xml2::nodeOf(at);
                if (id >= elements_.size()) elements_.resize(std::size_t{id} + id / 2 + 1);
                elements_[id] = at;
                if (at->children != nullptr) {
                    at = at->children;
                    continue;
                }
            }
            while (at->next == nullptr && at->parent->type == XML_ELEMENT_NODE) at = at->parent;
            at = at->next;
        }
    }

    NodeId root_;
    std::uint64_t revision_;
    xml2::ExportedTree copy_;
    std::vector<xmlNode*> elements_;  // by id; empty until an element is asked for
};

std::string messageFor(int code, std::string_view name) {
    switch (code - kFirstCode) {
        case XPATH_UNFINISHED_LITERAL_ERROR:
        case XPATH_START_LITERAL_ERROR:
            return worded("expected a closing quote");
        case XPATH_VARIABLE_REF_ERROR:
        case XPATH_UNDEF_VARIABLE_ERROR:
        case XPATH_FORBID_VARIABLE_ERROR:
            return worded("variables are not defined here");
        case XPATH_INVALID_PREDICATE_ERROR:
            return worded("expected ']' after a predicate");
        case XPATH_UNCLOSED_ERROR:
            return worded("expected ')'");
        case XPATH_UNKNOWN_FUNC_ERROR:
            return name.empty() ? worded("unknown function") : worded("unknown function '%1'", name);
        case XPATH_INVALID_TYPE:
            return worded("operand of a wrong type; expected a node set");
        case XPATH_INVALID_ARITY:
            return worded("wrong number of arguments");
        case XPATH_UNDEF_PREFIX_ERROR:
            return name.empty() ? worded("undeclared prefix") : worded("undeclared prefix '%1'", name);
        case XPATH_INVALID_CHAR_ERROR:
            return worded("character that XML does not allow");
        case XPATH_OP_LIMIT_EXCEEDED:
            return worded("more work than is allowed for a document of this size");
        case XPATH_RECURSION_LIMIT_EXCEEDED:
            return worded("expression is nested too deep");
        default:
            return worded("expected an expression");
    }
}

// The first prefix of the expression that is not bound, a piece of its text; empty: there is none.
std::string_view undeclaredPrefix(const Expression& expression) {
    const std::string_view text = expression.text;
    char quote = 0;
    std::size_t start = 0;  // of the name that the text is in
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (quote != 0 || c == '"' || c == '\'') {
            quote = quote == 0 ? c : c == quote ? '\0' : quote;
            start = at + 1;
        } else if (c == ':') {
            const std::string_view prefix = text.substr(start, at - start);
            const bool isAxis = text.substr(at).starts_with("::");
            const auto isIt = [&](const auto& known) { return known.first == prefix; };
            if (!isAxis && !prefix.empty() && prefix != "xml" &&
                std::none_of(expression.prefixes.begin(), expression.prefixes.end(), isIt))
                return prefix;
            start = at + 1;
        } else if (std::string_view(" \t\r\n/@()[]|+*=<>!,$").find(c) != std::string_view::npos) {
            start = at + 1;
        }
    }
    return {};
}

// What libxml2 reports first.
class Listener final {
public:
    static void hear(void* self, xml2::ErrorPointer error) noexcept {
        static_cast<Listener*>(self)->take(*error);
    }
    static void hearText(void* self, const char* format, ...) noexcept __attribute__((format(printf, 2, 3)));

    [[nodiscard]] bool isOutOfMemory() const noexcept { return isOutOfMemory_; }
    [[noreturn]] void fail(const Expression& asked) const {
        const std::string_view expression = asked.text;
        const bool lacksPrefix = code_ == kFirstCode + XPATH_UNDEF_PREFIX_ERROR;
        const std::string_view name = lacksPrefix ? undeclaredPrefix(asked) : std::string_view(name_);
        std::size_t offset = offset_ < 0 ? expression.npos : static_cast<std::size_t>(offset_);
        if (!name.empty()) {
            offset = lacksPrefix ? static_cast<std::size_t>(name.data() - expression.data())
                                 : expression.find(name);
        }
        throw ExpressionError(messageFor(code_, name), std::min(offset, expression.size()) == offset
                                                           ? characters(expression.substr(0, offset)) + 1
                                                           : 0);
    }

private:
    static std::uint32_t characters(std::string_view utf8) noexcept {
        return static_cast<std::uint32_t>(std::count_if(
            utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
    }
    void take(const xmlError& error) noexcept {
        isOutOfMemory_ = isOutOfMemory_ || xml2::reportsAllocationError(error) ||
                         error.code == kFirstCode + XPATH_MEMORY_ERROR;
        if (code_ != 0) return;
        code_ = error.code;
        offset_ = error.str1 == nullptr ? -1 : error.int1;
    }

    int code_ = 0;
    int offset_ = -1;  // in bytes; negative: not known
    std::string name_;
    bool isOutOfMemory_ = false;
};

// libxml2 names the function or prefix that it does not know in running text: "...: function f not found".
void Listener::hearText(void* self, const char* format, ...) noexcept {
    auto& listener = *static_cast<Listener*>(self);
    const std::string_view shape(format);
    if (shape.find("function %s") == shape.npos && shape.find("prefix %s") == shape.npos) return;
    std::va_list arguments;
    va_start(arguments, format);
    const char* name = va_arg(arguments, const char*);
    try {
        if (listener.name_.empty() && name != nullptr) listener.name_ = name;
    } catch (const std::bad_alloc&) {  // the words are welcome
    }
    va_end(arguments);
}

xmlParserInputBuffer* openNothing(const char*, xmlCharEncoding) noexcept {
    return nullptr;
}

SelectedNode selected(const xmlNode* node) {
    switch (node->type) {
        case XML_DOCUMENT_NODE:
            return {dom::kDocumentNode, SelectedNode::kNoAttribute};
        case XML_NAMESPACE_DECL:
            throw ExpressionError(worded("namespace nodes cannot be selected"), 0);
        case XML_ATTRIBUTE_NODE:
            break;
        default:
            return {xml2::nodeOf(node), SelectedNode::kNoAttribute};
    }
    std::uint32_t index = 0;  // among those that declare nothing
    for (const xmlAttr* at = reinterpret_cast<const xmlAttr*>(node)->prev; at != nullptr; at = at->prev)
        ++index;
    return {xml2::nodeOf(node->parent), index};
}

// Counts namespace declarations in, which a copy has elsewhere.
void countDeclarations(const Tree& tree, SelectedNode& node) {
    if (node.attribute == SelectedNode::kNoAttribute) return;
    std::uint32_t wanted = node.attribute;
    for (std::uint32_t i = 0; i < tree.attributeCount(node.node); ++i) {
        const bool declares =
            (tree.names().flags(tree.attributeNameId(node.node, i)) & dom::Names::kDeclaration) != 0;
        if (declares) continue;
        if (wanted-- == 0) {
            node.attribute = i;
            return;
        }
    }
}

ExpressionValue valueOf(const Tree& tree, xmlXPathObject& object, ExpressionValue::Kind kind) {
    ExpressionValue value;
    switch (kind) {
        case ExpressionValue::Kind::Nodes: {
            if (object.type != XPATH_NODESET)
                throw ExpressionError(worded("expected an expression that selects nodes"), 1);
            if (object.nodesetval == nullptr) break;
            sortNodes(*object.nodesetval);
            value.nodes.reserve(static_cast<std::size_t>(object.nodesetval->nodeNr));
            for (int i = 0; i < object.nodesetval->nodeNr; ++i) {
                value.nodes.push_back(selected(object.nodesetval->nodeTab[i]));
                countDeclarations(tree, value.nodes.back());
            }
            break;
        }
        case ExpressionValue::Kind::Text: {
            const xml2::TextHandle text(orThrow(xmlXPathCastToString(&object)));
            value.text = view(text.get());
            break;
        }
        case ExpressionValue::Kind::Number:
            value.number = xmlXPathCastToNumber(&object);
            break;
        case ExpressionValue::Kind::Truth:
            value.isTrue = xmlXPathCastToBoolean(&object) != 0;
            break;
    }
    return value;
}

class Evaluation final {
public:
    Evaluation(const Expression& expression, Copy& copy, xmlNode* contextNode)
        : expression_(expression), text_(expression.text) {
        context_.reset(orThrow(xmlXPathNewContext(&copy.doc())));
        context_->node = contextNode;
        context_->contextSize = context_->proximityPosition = 1;
        context_->opLimit = workLimits(copy.extent().nodes, copy.extent().textInBytes).xpathSteps;
        for (const auto& [prefix, uri] : expression.prefixes) {
            if (xmlXPathRegisterNs(context_.get(), chars(prefix), chars(uri)) != 0) throw std::bad_alloc();
        }
        Steps::addFunctions(*context_, steps_);
    }

    [[nodiscard]] ExpressionValue run(const Tree& tree, ExpressionValue::Kind kind) {
        const libstate::AllocationError memory;
        Listener listener;
        const libstate::ThreadSettings settings({&listener, Listener::hear, Listener::hearText}, openNothing);
        const auto finish = [&] {
            if (listener.isOutOfMemory()) throw std::bad_alloc();
            memory.throwIfHappened();
        };
        const CompiledHandle asWritten(xmlXPathCtxtCompile(context_.get(), chars(text_)));
        if (asWritten == nullptr) finish(), listener.fail(expression_);
        const CompiledHandle compiled(xmlXPathCtxtCompile(context_.get(), chars(steps_.expression(text_))));
        finish();
        const ObjectHandle object(compiled == nullptr ? nullptr
                                                      : xmlXPathCompiledEval(compiled.get(), context_.get()));
        finish();
        if (object == nullptr) listener.fail(expression_);
        ExpressionValue value = valueOf(tree, *object, kind);
        finish();
        return value;
    }

private:
    const Expression& expression_;
    const std::string& text_;  // of the expression
    Steps steps_;
    ContextHandle context_;
};

class LibxmlEvaluator final : public dom::Evaluator {
public:
    ExpressionValue evaluate(const dom::NodeSource& context, const Expression& expression,
                             ExpressionValue::Kind kind) override {
        if (expression.text.size() > kLongestExpression)
            throw ExpressionError(worded("expression is too long"), 0);
        if (const std::size_t nul = expression.text.find('\0'); nul != std::string::npos)
            throw ExpressionError(worded("character that XML does not allow"), 0);
        if (const std::optional<ForwardPath> path = ForwardPath::compile(expression)) {
            if (std::optional<ExpressionValue> value = path->evaluate(context.tree, context.node, kind))
                return std::move(*value);
        }
        libstate::initialiseLibxml2();
        NodeId root = context.node;
        while (context.tree.parent(root) != dom::kNoNode) root = context.tree.parent(root);
        std::unique_ptr<dom::Kept> own;
        std::unique_ptr<dom::Kept>& kept = context.keptCopy == nullptr ? own : *context.keptCopy;
        auto* copy = static_cast<Copy*>(kept.get());
        if (copy == nullptr || !copy->isOf(context.tree, root)) {
            kept.reset();  // before the next one takes as much
            kept = std::make_unique<Copy>(context.tree, root, std::string(context.url));
            copy = static_cast<Copy*>(kept.get());
        }
        xmlNode* const node = copy->find(context.node);
        if (node == nullptr)
            throw com::Exception(E_INVALIDARG, worded("Expressions start at a document or an element."));
        Evaluation evaluation(expression, *copy, node);
        ExpressionValue value;
        const auto run = [&] { value = evaluation.run(context.tree, kind); };
        const std::size_t levels = std::min(expression.text.size(), kMaxLevels);
        if (platform::stackLeftInBytes() > levels * kBytesPerLevel + kReserve) {
            run();
        } else if (!platform::runOnStack(kBigStack, run)) {
            throw std::bad_alloc();
        }
        return value;
    }
};

LibxmlEvaluator theEvaluator;

}  // namespace

dom::Evaluator& evaluator() noexcept {
    return theEvaluator;
}

}  // namespace engine::xslt
