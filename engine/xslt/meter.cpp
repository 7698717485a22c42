// Whatever grows by feeding on itself goes through a variable, or is written again and again: expressions see
// the source, which does not grow, and variables.
//
// What an instruction writes is measured by putting ourselves before its function in the compiled style
// sheet. Literal elements and texts have no function of their own, so each sequence of instructions that has
// some gets one more instruction at its end, which writes nothing and charges for them.
#include "engine/xslt/meter.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>

#include <libxslt/imports.h>
#include <libxslt/transform.h>
#include <libxslt/variables.h>
#include <libxslt/xsltutils.h>

#include "engine/xml2/handles.h"
#include "engine/xml2/inclusions.h"
#include "engine/xslt/platform/stack.h"

namespace engine::xslt {

namespace {

using xml2::view;

constexpr std::size_t kBytesPerNode = 130;       // and what the system's allocator adds
constexpr std::size_t kBytesPerAttribute = 260;  // with the text in it
constexpr unsigned long kBytesPerStep = 64;      // of a value that an expression takes over
constexpr unsigned long kNodesPerStep = 8;

std::size_t bytesOfElement(const xmlNode& element) noexcept {
    std::size_t bytes = kBytesPerNode;
    for (const xmlAttr* at = element.properties; at != nullptr; at = at->next) {
        bytes += kBytesPerAttribute;
        if (at->children != nullptr) bytes += view(at->children->content).size();
    }
    return bytes;
}

std::size_t bytesOfNode(const xmlNode& node) noexcept {
    if (node.type == XML_ELEMENT_NODE) return bytesOfElement(node);
    return kBytesPerNode + view(node.content).size();
}

// The node after this one in document order, below `top`; `mayDescend`: its own children come first.
template <typename Node>
Node* after(Node* node, const xmlNode* top, bool mayDescend) noexcept {
    if (mayDescend && node->type == XML_ELEMENT_NODE && node->children != nullptr) return node->children;
    while (node->next == nullptr) {
        node = node->parent;
        if (node == nullptr || node == top) return nullptr;
    }
    return node->next;
}

// Runs `instruction` and charges for what it has put into the result.
template <auto Instruction>
void measured(xsltTransformContext* context, xmlNode* node, xmlNode* inst, xsltElemPreComp* compiled) {
    const xmlNode* const target = context->insert;
    const xmlNode* const last = target == nullptr ? nullptr : target->last;
    const int used = context->lasttuse;
    Instruction(context, node, inst, compiled);
    if (target == nullptr) return;
    std::size_t bytes = 0;
    // Text goes to the end of a text that is there; the context knows how much of its buffer is in use.
    if (last != nullptr && last->type == XML_TEXT_NODE && last->content == context->lasttext) {
        bytes += static_cast<std::size_t>(std::max(context->lasttuse - used, 0));
    }
    const xmlNode* added = last == nullptr ? target->children : last->next;
    for (; added != nullptr; added = after(added, target, true)) bytes += bytesOfNode(*added);
    Meter::of(*context).written(bytes);
}

// The same for one that writes a node whose content comes from other instructions.
template <auto Instruction>
void counted(xsltTransformContext* context, xmlNode* node, xmlNode* inst, xsltElemPreComp* compiled) {
    Meter::of(*context).written(kBytesPerAttribute);
    Instruction(context, node, inst, compiled);
}

void chargeForLiterals(xsltTransformContext* context, xmlNode*, xmlNode*, xsltElemPreComp* compiled) {
    Meter::of(*context).written(static_cast<const Meter::Charge*>(compiled)->bytes);
}

void putBefore(xsltElemPreComp& compiled) noexcept {
    struct Entry {
        xsltStyleType type;
        xsltTransformFunction function;
    };
    static constexpr std::array kEntries{Entry{XSLT_FUNC_VALUEOF, measured<xsltValueOf>},
                                         Entry{XSLT_FUNC_COPYOF, measured<xsltCopyOf>},
                                         Entry{XSLT_FUNC_ELEMENT, counted<xsltElement>},
                                         Entry{XSLT_FUNC_COPY, counted<xsltCopy>},
                                         Entry{XSLT_FUNC_ATTRIBUTE, counted<xsltAttribute>},
                                         Entry{XSLT_FUNC_COMMENT, counted<xsltComment>},
                                         Entry{XSLT_FUNC_PI, counted<xsltProcessingInstruction>}};
    for (const Entry& entry : kEntries) {
        if (compiled.func != nullptr && compiled.type == entry.type) compiled.func = entry.function;
    }
}

}  // namespace

bool isInstruction(const xmlNode& node, std::string_view name) noexcept {
    return node.type == XML_ELEMENT_NODE && node.ns != nullptr &&
           view(node.ns->href) == xml2::kXsltNamespace && (name.empty() || view(node.name) == name);
}

namespace {

// Whether its children are carried out as a sequence, and any may be among them.
bool holdsSequence(const xmlNode& instruction) noexcept {
    static constexpr std::array<std::string_view, 10> kNames{"template",  "for-each",  "if",   "when",
                                                             "otherwise", "element",   "copy", "variable",
                                                             "param",     "with-param"};
    return std::find(kNames.begin(), kNames.end(), view(instruction.name)) != kNames.end();
}

using Weights = std::map<xmlNode*, std::size_t>;  // by instruction that holds a sequence

void weighLiterals(xmlNode& top, Weights& weights) {
    for (xmlNode* node = &top; node != nullptr; node = after(node, &top, true)) {
        if (isInstruction(*node)) continue;
        xmlNode* owner = node->parent;
        while (owner != nullptr && (!isInstruction(*owner) || isInstruction(*owner, "text"))) {
            owner = owner->parent;
        }
        if (owner != nullptr && holdsSequence(*owner)) weights[owner] += bytesOfNode(*node);
        if (node == &top && node->children == nullptr) return;
    }
}

void addCharge(xmlNode& sequence, std::size_t bytes, Meter::Charges& charges) {
    xmlNode* node = xml2::orThrow(xmlNewDocNode(sequence.doc, sequence.ns, xml2::chars("text"), nullptr));
    Meter::Charge& charge = charges.emplace_back();
    charge.next = nullptr;
    charge.type = XSLT_FUNC_TEXT;
    charge.func = chargeForLiterals;
    charge.inst = node;
    charge.free = nullptr;
    charge.bytes = bytes;
    node->psvi = &charge;
    node->line = sequence.line;
    node->parent = &sequence;  // linked by hand: nothing may merge or search here
    node->prev = sequence.last;
    sequence.last->next = node;
    sequence.last = node;
}

}  // namespace

Meter::Charges Meter::equip(xsltStylesheet& style) {
    Weights weights;
    for (xsltStylesheet* at = &style; at != nullptr; at = xsltNextImport(at)) {
        for (xsltElemPreComp* compiled = at->preComps; compiled != nullptr; compiled = compiled->next) {
            putBefore(*compiled);
        }
        for (const xsltTemplate* rule = at->templates; rule != nullptr; rule = rule->next) {
            if (rule->elem != nullptr && rule->elem->type == XML_ELEMENT_NODE)
                weighLiterals(*rule->elem, weights);
        }
        for (const xsltStackElem* variable = at->variables; variable != nullptr; variable = variable->next) {
            if (variable->tree != nullptr && variable->tree->parent != nullptr) {
                weighLiterals(*variable->tree->parent, weights);
            }
        }
    }
    Charges charges;
    for (const auto& [sequence, bytes] : weights) addCharge(*sequence, bytes, charges);
    return charges;
}

Meter::Meter(xsltTransformContext& context, const WorkLimits& limits, const Steps& steps) noexcept
    : context_(context), limits_(limits), steps_(steps) {
    context.opLimit = limits.instructions;
    context.xpathCtxt->opLimit = limits.xpathSteps;
    xmlXPathRegisterVariableLookup(context.xpathCtxt, lookUp, this);
}

Meter& Meter::of(const xsltTransformContext& context) noexcept {
    return *static_cast<Meter*>(context.xpathCtxt->varLookupData);
}

void Meter::written(std::size_t bytes) noexcept {
    const bool wasWithin = writtenInBytes_ <= limits_.writtenInBytes;
    writtenInBytes_ += bytes;
    if (!wasWithin || writtenInBytes_ <= limits_.writtenInBytes) return;
    xsltTransformError(&context_, nullptr, context_.inst, "Operation limit exceeded\n");
    context_.state = XSLT_STATE_STOPPED;
}

xmlXPathObject* Meter::lookUp(void* meter, const xmlChar* name, const xmlChar* uri) noexcept {
    auto* self = static_cast<Meter*>(meter);
    xmlXPathObject* value = xsltXPathVariableLookup(&self->context_, name, uri);
    if (value == nullptr || self->admits(*value)) return value;
    xsltTransformError(&self->context_, nullptr, self->context_.inst,
                       "The value of '$%s' has grown to more than %lu bytes.\n",
                       reinterpret_cast<const char*>(name),
                       static_cast<unsigned long>(self->limits_.stringInBytes));
    self->context_.state = XSLT_STATE_STOPPED;
    xmlXPathFreeObject(value);
    return xmlXPathNewCString("");
}

bool Meter::admits(const xmlXPathObject& value) noexcept {
    unsigned long& steps = context_.xpathCtxt->opCount;
    if (value.type == XPATH_STRING) {
        const std::size_t length = view(value.stringval).size();
        steps += length / kBytesPerStep;
        return length <= limits_.stringInBytes;
    }
    if (value.nodesetval != nullptr) {
        steps += static_cast<unsigned long>(value.nodesetval->nodeNr) / kNodesPerStep;
    }
    return true;
}

// Stack: measured with libxslt 1.1.35, optimised, in bytes: a level of templates took 280 to 770, a level
// of elements that the built-in rules walk over 130, one that copy-of copies 100, and a level of a style
// sheet that is compiled up to 490. The worst that a style sheet can do is to walk the whole depth of the
// source with the built-in rules at each level of its templates.

namespace {

constexpr std::size_t kUsualTemplateDepth = 3000;  // libxslt's own default
constexpr std::size_t kBytesPerTemplate = 1000;
constexpr std::size_t kBytesPerElement = 170;
constexpr std::size_t kBytesPerStyleElement = 700;
constexpr std::size_t kReserve = std::size_t{64} << 10;  // for what is not recursive
constexpr std::size_t kBigStack = std::size_t{256} << 20;

// Measured, optimised: 9 million cheap instructions or 70 million steps take a second. The greediest real
// work seen is docbook-xsl: 75 instructions a node of the book, and steps that grow with the square of it
// (0.08 for each pair of nodes), and 8 KB written a node. Ten times the steps are granted, seven times the
// instructions, and five times the bytes.
constexpr unsigned long kMinInstructions = 10'000'000;
constexpr unsigned long kInstructionsPerNode = 500;
constexpr unsigned long kMinXPathSteps = 200'000'000;
constexpr unsigned long kMaxXPathSteps = 50'000'000'000;
constexpr std::size_t kMinWrittenInBytes = std::size_t{512} << 20;
constexpr std::size_t kWrittenPerNode = 40'000;
constexpr std::size_t kWrittenPerSourceByte = 100;
constexpr std::size_t kMinStringInBytes = std::size_t{64} << 20;
constexpr std::size_t kStringPerSourceByte = 16;

std::size_t templateDepthOn(std::size_t stack, std::size_t sourceDepth) {
    const std::size_t tree = (sourceDepth + 1) * kBytesPerElement;
    if (stack < kReserve + tree) return 0;
    return std::min(kUsualTemplateDepth, (stack - kReserve - tree) / (kBytesPerTemplate + tree));
}

}  // namespace

WorkLimits workLimits(std::size_t sourceNodes, std::size_t sourceTextInBytes) noexcept {
    const auto nodes = static_cast<unsigned long>(sourceNodes);
    const unsigned long square = nodes < 1'000'000 ? nodes * nodes : kMaxXPathSteps;
    return {kMinInstructions + kInstructionsPerNode * nodes,
            std::min(kMinXPathSteps + square, kMaxXPathSteps),
            kMinWrittenInBytes + kWrittenPerNode * sourceNodes + kWrittenPerSourceByte * sourceTextInBytes,
            kMinStringInBytes + kStringPerSourceByte * sourceTextInBytes};
}

std::size_t styleSheetDepthLimit() noexcept {
    const std::size_t stack = platform::stackLeftInBytes();
    return std::max<std::size_t>(stack > kReserve ? (stack - kReserve) / kBytesPerStyleElement : 0, 50);
}

void runWithStack(std::size_t sourceDepth, const std::function<void(std::size_t templateDepth)>& work) {
    const std::size_t here = templateDepthOn(platform::stackLeftInBytes(), sourceDepth);
    if (here == kUsualTemplateDepth) return work(here);
    const std::size_t there = std::max<std::size_t>(templateDepthOn(kBigStack, sourceDepth), 1);
    if (!platform::runOnStack(kBigStack, [&] { work(there); })) work(std::max<std::size_t>(here, 1));
}

}  // namespace engine::xslt
