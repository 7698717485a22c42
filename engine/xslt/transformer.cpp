// Brings the transformer into the documents: registers while the program loads.
#include <memory>

#include "engine/com/classtable.h"
#include "engine/com/status.h"
#include "engine/dom/services.h"
#include "engine/libstate/libstate.h"
#include "engine/xslt/compiled.h"
#include "engine/xslt/evaluator.h"
#include "engine/xslt/resultevents.h"
#include "engine/xslt/template.h"

namespace engine::xslt {

void checkStyleNode(const dom::NodeSource& style) {
    const dom::NodeKind kind = style.tree.kind(style.node);
    if (kind != dom::NodeKind::Element && kind != dom::NodeKind::Document) {
        throw com::Exception(E_INVALIDARG,
                             "A style sheet is an element or a document, not a node of another kind.");
    }
}

void checkSourceNode(const dom::NodeSource& source) {
    const dom::NodeKind kind = source.tree.kind(source.node);
    if (kind != dom::NodeKind::Element && kind != dom::NodeKind::Document) {
        throw com::Exception(E_INVALIDARG,
                             "What is transformed is an element or a document, not a node of another kind.");
    }
}

namespace {

// The compiled style sheet for one transformation: the one that was kept, or a new one. A style sheet in
// parts is not kept, for its files may change; nor one inside a document, whose node may become another.
class Compiled final {
public:
    explicit Compiled(const dom::NodeSource& style) {
        const bool isWhole = style.node == dom::kDocumentNode || style.node == style.tree.documentElement();
        if (isWhole && style.kept != nullptr) {
            const auto* known = static_cast<const KeptStyle*>(style.kept->get());
            if (known != nullptr && known->node == style.node && known->revision == style.tree.revision()) {
                sheet_ = &static_cast<KeptStyle*>(style.kept->get())->sheet;
                return;
            }
        }
        auto made = std::make_unique<KeptStyle>(style);
        sheet_ = &made->sheet;
        if (isWhole && style.kept != nullptr && !sheet_->hasParts()) {
            *style.kept = std::move(made);
        } else {
            own_ = std::move(made);
        }
    }

    StyleSheet* operator->() const noexcept { return sheet_; }

private:
    std::unique_ptr<KeptStyle> own_;
    StyleSheet* sheet_ = nullptr;
};

class LibxsltTransformer final : public dom::Transformer {
public:
    std::u16string toText(const dom::NodeSource& source, const dom::NodeSource& style) override {
        checkStyleNode(style);
        checkSourceNode(source);
        libstate::initialiseLibxslt();
        Compiled sheet(style);
        const xml2::DocHandle result = sheet->transform(source);
        return sheet->save(*result);
    }

    void toEvents(const dom::NodeSource& source, const dom::NodeSource& style,
                  reader::EventSink& sink) override {
        checkStyleNode(style);
        checkSourceNode(source);
        libstate::initialiseLibxslt();
        Compiled sheet(style);
        const xml2::DocHandle result = sheet->transform(source);
        sendEvents(*result, sink);
    }
};

LibxsltTransformer theTransformer;
com::ClassEntry templateClass{CLSID_XSLTemplate60, Template::create};

}  // namespace

}  // namespace engine::xslt

// The name by which the link asks for this file; see CMakeLists.txt.
extern "C" const bool engineXsltRegistered;
const bool engineXsltRegistered = (engine::dom::setTransformer(&engine::xslt::theTransformer),
                                   engine::dom::setEvaluator(&engine::xslt::evaluator()),
                                   engine::com::registerClass(engine::xslt::templateClass));
