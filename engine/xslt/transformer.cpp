// Brings the transformer into the documents: registers while the program loads.
#include <libxml/parser.h>

#include "engine/com/status.h"
#include "engine/dom/services.h"
#include "engine/xslt/resultevents.h"
#include "engine/xslt/stylesheet.h"

namespace engine::xslt {

namespace {

void checkStyleNode(const dom::NodeSource& style) {
    const dom::NodeKind kind = style.tree.kind(style.node);
    if (kind != dom::NodeKind::Element && kind != dom::NodeKind::Document) {
        throw com::Failure(E_INVALIDARG,
                           "A style sheet is an element or a document, not a node of another kind.");
    }
}

void checkSourceNode(const dom::NodeSource& source) {
    const dom::NodeKind kind = source.tree.kind(source.node);
    if (kind != dom::NodeKind::Element && kind != dom::NodeKind::Document) {
        throw com::Failure(E_INVALIDARG,
                           "What is transformed is an element or a document, not a node of another kind.");
    }
}

class LibxsltTransformer final : public dom::Transformer {
public:
    std::u16string toText(const dom::NodeSource& source, const dom::NodeSource& style) override {
        checkStyleNode(style);
        checkSourceNode(source);
        xmlInitParser();
        StyleSheet sheet(style);
        const xml2::DocHandle result = sheet.transform(source);
        return sheet.save(*result);
    }

    void toEvents(const dom::NodeSource& source, const dom::NodeSource& style,
                  reader::EventSink& sink) override {
        checkStyleNode(style);
        checkSourceNode(source);
        xmlInitParser();
        StyleSheet sheet(style);
        const xml2::DocHandle result = sheet.transform(source);
        sendEvents(*result, sink);
    }
};

LibxsltTransformer theTransformer;

}  // namespace

}  // namespace engine::xslt

// The name by which the link asks for this file; see CMakeLists.txt.
extern "C" const bool engineXsltRegistered;
const bool engineXsltRegistered = (engine::dom::setTransformer(&engine::xslt::theTransformer), true);
