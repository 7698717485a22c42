// Whatever grows by feeding on itself goes through a variable, a value-of or a copy-of: expressions see the
// source, which does not grow, and variables.
#include "engine/xslt/meter.h"

#include <libxslt/imports.h>
#include <libxslt/transform.h>
#include <libxslt/variables.h>
#include <libxslt/xsltutils.h>

#include <cstring>

#include "engine/xml2/handles.h"

namespace engine::xslt {

namespace {

constexpr unsigned long kBytesPerInstruction = 16;  // that it writes
constexpr unsigned long kInstructionsPerNode = 4;   // for what takes 100 to 200 bytes
constexpr unsigned long kBytesPerStep = 64;         // of a value that an expression takes over
constexpr unsigned long kNodesPerStep = 8;

std::size_t lengthOf(const xmlChar* text) noexcept {
    return xml2::view(text).size();
}

// What the tree that begins with `node` and the siblings after it weigh.
unsigned long weightOf(const xmlNode* node, const xmlNode* parent) noexcept {
    unsigned long weight = 0;
    while (node != nullptr) {
        weight += kInstructionsPerNode;
        if (node->type != XML_ELEMENT_NODE) {
            weight += lengthOf(node->content) / kBytesPerInstruction;
        } else {
            for (const xmlAttr* at = node->properties; at != nullptr; at = at->next) {
                weight += kInstructionsPerNode;
                if (at->children != nullptr) {
                    weight += lengthOf(at->children->content) / kBytesPerInstruction;
                }
            }
            if (node->children != nullptr) {
                node = node->children;
                continue;
            }
        }
        while (node->next == nullptr && node->parent != nullptr && node->parent != parent) {
            node = node->parent;
        }
        node = node->next;
    }
    return weight;
}

// Runs `instruction` and charges for what it has put into the result.
template <auto Instruction>
void charged(xsltTransformContext* context, xmlNode* node, xmlNode* inst, xsltElemPreComp* compiled) {
    xmlNode* const target = context->insert;
    xmlNode* const last = target == nullptr ? nullptr : target->last;
    const int used = context->lasttuse;
    Instruction(context, node, inst, compiled);
    if (target == nullptr) return;
    // Text goes to the end of a text that is there; the context knows how much of its buffer is in use.
    if (last != nullptr && last->type == XML_TEXT_NODE && last->content == context->lasttext &&
        context->lasttuse > used) {
        context->opCount += static_cast<unsigned long>(context->lasttuse - used) / kBytesPerInstruction;
    }
    context->opCount += weightOf(last == nullptr ? target->children : last->next, target);
}

}  // namespace

void Meter::equip(xsltStylesheet& style) noexcept {
    for (xsltStylesheet* at = &style; at != nullptr; at = xsltNextImport(at)) {
        for (xsltElemPreComp* compiled = at->preComps; compiled != nullptr; compiled = compiled->next) {
            if (compiled->func == nullptr) continue;
            if (compiled->type == XSLT_FUNC_VALUEOF) compiled->func = charged<xsltValueOf>;
            if (compiled->type == XSLT_FUNC_COPYOF) compiled->func = charged<xsltCopyOf>;
        }
    }
}

Meter::Meter(xsltTransformContext& context, const WorkLimits& limits) noexcept
    : context_(context), stringInBytes_(limits.stringInBytes) {
    context.opLimit = limits.instructions;
    context.xpathCtxt->opLimit = limits.xpathSteps;
    xmlXPathRegisterVariableLookup(context.xpathCtxt, lookUp, this);
}

xmlXPathObject* Meter::lookUp(void* meter, const xmlChar* name, const xmlChar* uri) noexcept {
    auto* self = static_cast<Meter*>(meter);
    xmlXPathObject* value = xsltXPathVariableLookup(&self->context_, name, uri);
    if (value == nullptr || self->admits(*value)) return value;
    xsltTransformError(&self->context_, nullptr, self->context_.inst,
                       "The value of '$%s' has grown to more than %lu bytes.\n",
                       reinterpret_cast<const char*>(name), static_cast<unsigned long>(self->stringInBytes_));
    self->context_.state = XSLT_STATE_STOPPED;
    xmlXPathFreeObject(value);
    return xmlXPathNewCString("");
}

bool Meter::admits(const xmlXPathObject& value) noexcept {
    unsigned long& steps = context_.xpathCtxt->opCount;
    if (value.type == XPATH_STRING) {
        const std::size_t length = lengthOf(value.stringval);
        steps += length / kBytesPerStep;
        return length <= stringInBytes_;
    }
    if (value.nodesetval != nullptr) {
        steps += static_cast<unsigned long>(value.nodesetval->nodeNr) / kNodesPerStep;
    }
    return true;
}

}  // namespace engine::xslt
