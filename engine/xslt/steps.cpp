// Each step in question is compiled by itself, and a call that names it by number takes its place in the
// expression. The function evaluates the step from every node of its set, one after the other, and joins the
// results.
#include "engine/xslt/steps.h"

#include <libxml/xpathInternals.h>
#include <libxslt/extensions.h>

#include <algorithm>
#include <new>
#include <unordered_set>

#include "engine/xslt/meter.h"
#include "engine/xslt/pathwriter.h"

namespace engine::xslt {

namespace {

using xml2::chars;
using xml2::view;

constexpr unsigned long kNodesPerStep = 4;  // found again or kept by the hash for what a step costs

struct FreeNodeSet {
    void operator()(xmlNodeSet* nodes) const noexcept { xmlXPathFreeNodeSet(nodes); }
};
struct FreeObject {
    void operator()(xmlXPathObject* object) const noexcept { xmlXPathFreeObject(object); }
};
using NodeSetHandle = std::unique_ptr<xmlNodeSet, FreeNodeSet>;
using ObjectHandle = std::unique_ptr<xmlXPathObject, FreeObject>;

// A set of nodes in the making, each once.
class Union final {
public:
    explicit Union(xmlXPathContext& context) : context_(context) {}

    void add(const xmlXPathObject& found) {
        if (found.nodesetval == nullptr) return;
        context_.opCount += static_cast<unsigned long>(found.nodesetval->nodeNr) / kNodesPerStep;
        for (int i = 0; i < found.nodesetval->nodeNr; ++i) {
            xmlNode* node = found.nodesetval->nodeTab[i];
            // Namespace nodes are copies, distinguished by what they say.
            const bool isCopy = node->type == XML_NAMESPACE_DECL;
            if (!isCopy && !seen_.insert(node).second) continue;
            const int status = isCopy ? xmlXPathNodeSetAdd(nodes_.get(), node)
                                      : xmlXPathNodeSetAddUnique(nodes_.get(), node);
            if (status != 0) throw std::bad_alloc();
        }
    }

    // In document order.
    [[nodiscard]] xmlXPathObject* finish() {
        sortNodes(*nodes_);
        return xml2::orThrow(xmlXPathWrapNodeSet(nodes_.release()));
    }

private:
    xmlXPathContext& context_;
    NodeSetHandle nodes_{xml2::orThrow(xmlXPathNodeSetCreate(nullptr))};
    std::unordered_set<const xmlNode*> seen_;
};

// Runs a function's body; what it throws becomes an error of the expression.
template <typename Body>
void guarded(xmlXPathParserContextPtr parser, Body&& body) noexcept {
    try {
        body();
    } catch (...) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
}

// The argument on top, a set of nodes; null: the error has been reported.
ObjectHandle takeNodes(xmlXPathParserContextPtr parser) {
    if (parser->value == nullptr || parser->value->type != XPATH_NODESET) {
        xmlXPathErr(parser, XPATH_INVALID_TYPE);
        return nullptr;
    }
    return ObjectHandle(valuePop(parser));
}

// What an evaluation changes of its context.
class KeepContext final {
public:
    explicit KeepContext(xmlXPathContext& context)
        : context_(context),
          node_(context.node),
          doc_(context.doc),
          size_(context.contextSize),
          position_(context.proximityPosition) {}
    KeepContext(const KeepContext&) = delete;
    KeepContext& operator=(const KeepContext&) = delete;
    ~KeepContext() {
        context_.node = node_;
        context_.doc = doc_;
        context_.contextSize = size_;
        context_.proximityPosition = position_;
    }

private:
    xmlXPathContext& context_;
    xmlNode* node_;
    xmlDoc* doc_;
    int size_;
    int position_;
};

const Steps& stepsOf(xmlXPathParserContextPtr parser) noexcept {
    const xsltTransformContext* transformation = xsltXPathGetTransformContext(parser);
    return transformation == nullptr ? *static_cast<const Steps*>(parser->context->varLookupData)
                                     : Meter::of(*transformation).steps();
}

xmlXPathObject* lookUpNoVariable(void*, const xmlChar*, const xmlChar*) noexcept {
    return nullptr;
}

// Takes the step from each of the nodes. False: it has been reported.
bool follow(xmlXPathContext& context, xmlXPathCompExpr& step, const xmlXPathObject& from, Union& found) {
    const KeepContext keep(context);
    const int size = from.nodesetval == nullptr ? 0 : from.nodesetval->nodeNr;
    for (int i = 0; i < size; ++i) {
        context.node = from.nodesetval->nodeTab[i];
        const ObjectHandle nodes(xmlXPathCompiledEval(&step, &context));
        if (nodes == nullptr) return false;
        found.add(*nodes);
    }
    return true;
}

// engine-step(nodes, number)
void step(xmlXPathParserContextPtr parser, int count) {
    if (count != 2) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    const double number = xmlXPathPopNumber(parser);
    guarded(parser, [&] {
        const ObjectHandle from = takeNodes(parser);
        if (from == nullptr) return;
        xmlXPathCompExpr* compiled = stepsOf(parser).at(number);
        if (compiled == nullptr) return xmlXPathErr(parser, XPATH_EXPR_ERROR);
        Union found(*parser->context);
        if (!follow(*parser->context, *compiled, *from, found)) {
            parser->error = XPATH_EXPR_ERROR;
            return;
        }
        valuePush(parser, found.finish());
    });
}

// engine-union(nodes, nodes, ...)
void unite(xmlXPathParserContextPtr parser, int count) {
    guarded(parser, [&] {
        Union all(*parser->context);
        for (int i = 0; i < count; ++i) {
            const ObjectHandle nodes = takeNodes(parser);
            if (nodes == nullptr) return;
            all.add(*nodes);
        }
        valuePush(parser, all.finish());
    });
}

void registerFunctions(xmlXPathContext& context) {
    if (xmlXPathRegisterFunc(&context, chars("engine-step"), step) != 0 ||
        xmlXPathRegisterFunc(&context, chars("engine-union"), unite) != 0) {
        throw std::bad_alloc();
    }
}

}  // namespace

namespace {

// 0: none.
std::uintptr_t numberOf(const xmlNode* node) noexcept {
    switch (node->type) {
        case XML_DOCUMENT_NODE:
            return 1;
        case XML_ATTRIBUTE_NODE:
            return reinterpret_cast<std::uintptr_t>(reinterpret_cast<const xmlAttr*>(node)->psvi);
        case XML_NAMESPACE_DECL:
            return 0;
        default:
            return reinterpret_cast<std::uintptr_t>(node->psvi);
    }
}

}  // namespace

void sortNodes(xmlNodeSet& nodes) noexcept {
    xmlNode** const end = nodes.nodeTab + nodes.nodeNr;
    if (std::all_of(nodes.nodeTab, end, [](const xmlNode* node) { return numberOf(node) != 0; })) {
        std::sort(nodes.nodeTab, end,
                  [](const xmlNode* a, const xmlNode* b) { return numberOf(a) < numberOf(b); });
    } else {
        xmlXPathNodeSetSort(&nodes);
    }
}

void numberNodes(xmlDoc& document) noexcept {
    std::uintptr_t number = 1;
    for (xmlNode* at = document.children; at != nullptr;) {
        at->psvi = reinterpret_cast<void*>(++number);
        if (at->type == XML_ELEMENT_NODE) {
            for (xmlAttr* attribute = at->properties; attribute != nullptr; attribute = attribute->next)
                attribute->psvi = reinterpret_cast<void*>(++number);
            if (at->children != nullptr) {
                at = at->children;
                continue;
            }
        }
        while (at->next == nullptr && at->parent->type == XML_ELEMENT_NODE) at = at->parent;
        at = at->next;
    }
}

void Steps::addFunctions(xsltTransformContext& context) {
    registerFunctions(*context.xpathCtxt);
}

void Steps::addFunctions(xmlXPathContext& context, const Steps& steps) {
    xmlXPathRegisterVariableLookup(&context, lookUpNoVariable, const_cast<Steps*>(&steps));
    registerFunctions(context);
}

xmlXPathCompExpr* Steps::at(double number) const noexcept {
    return number >= 0 && number < static_cast<double>(steps_.size())
               ? steps_[static_cast<std::size_t>(number)].get()
               : nullptr;
}

std::size_t Steps::add(const std::string& step) {
    Compiled compiled(xmlXPathCompile(chars(step)));
    if (compiled == nullptr) throw PathWriter::GiveUp();
    steps_.push_back(std::move(compiled));
    return steps_.size() - 1;
}

std::string Steps::expression(std::string_view text) {
    const std::size_t before = steps_.size();
    const std::function<std::size_t(const std::string&)> adding = [this](const std::string& step) {
        return add(step);
    };
    PathWriter writer(text, adding);
    try {
        std::string written = writer.write();
        if (!writer.hasChanged()) return std::string(text);
        replaced_.emplace_back(written, text);
        return written;
    } catch (const PathWriter::GiveUp&) {
        steps_.resize(before);
        return std::string(text);
    }
}

std::string Steps::pattern(std::string_view text) {
    std::string written;
    std::size_t depth = 0;
    std::size_t start = 0;  // of the predicate
    char quote = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (depth == 0 && c != '[') {
            written += c;
            continue;
        }
        if (quote != 0) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '[') {
            if (depth++ == 0) start = i + 1;
        } else if (c == ']' && --depth == 0) {
            written += '[' + expression(text.substr(start, i - start)) + ']';
        }
    }
    return depth == 0 ? written : std::string(text);
}

std::string Steps::valueTemplate(std::string_view text) {
    std::string written;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '{') {
            written += text[i];
            continue;
        }
        if (text.substr(i).starts_with("{{")) {
            written += "{{";
            ++i;
            continue;
        }
        std::size_t end = i + 1;
        for (char quote = 0; end < text.size() && (quote != 0 || text[end] != '}'); ++end) {
            if (quote != 0) {
                if (text[end] == quote) quote = 0;
            } else if (text[end] == '"' || text[end] == '\'') {
                quote = text[end];
            }
        }
        if (end == text.size()) return std::string(text);
        written += '{' + expression(text.substr(i + 1, end - i - 1)) + '}';
        i = end;
    }
    return written;
}

std::string Steps::attribute(std::string_view element, std::string_view name, std::string_view value) {
    if (element.empty())
        return value.find('{') == std::string_view::npos ? std::string(value) : valueTemplate(value);
    if (name == "select" || name == "test" || name == "use" || (name == "value" && element == "number")) {
        return expression(value);
    }
    if (name == "match" || name == "count" || name == "from") return pattern(value);
    return valueTemplate(value);
}

void Steps::replaceIn(xmlDoc& style) {
    xmlNode* const root = xmlDocGetRootElement(&style);
    for (xmlNode* node = root; node != nullptr;) {
        const bool isXslt = isInstruction(*node);
        for (xmlAttr* at = node->properties; at != nullptr; at = at->next) {
            if (at->children == nullptr || at->children->content == nullptr || (isXslt && at->ns != nullptr))
                continue;
            const std::string_view before = view(at->children->content);
            const std::string after =
                attribute(isXslt ? view(node->name) : std::string_view(), view(at->name), before);
            if (after == before) continue;
            xmlChar* content = xml2::orThrow(xmlStrdup(chars(after)));
            xmlFree(at->children->content);
            at->children->content = content;
        }
        if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
            node = node->children;
        } else {
            while (node != root && node->next == nullptr) node = node->parent;
            if (node == root) return;
            node = node->next;
        }
        while (node != root && node->type != XML_ELEMENT_NODE) {
            while (node != root && node->next == nullptr) node = node->parent;
            if (node == root) return;
            node = node->next;
        }
    }
}

std::string Steps::asWritten(std::string text) const {
    for (const auto& [written, original] : replaced_) {
        for (std::size_t at = text.find(written); at != std::string::npos;
             at = text.find(written, at + original.size())) {
            text.replace(at, written.size(), original);
        }
    }
    return text;
}

}  // namespace engine::xslt
