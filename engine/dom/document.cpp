// The document object. A load builds a tree beside the current one and installs it when the reader is done;
// the old tree is retired and lives on while there are handles on its nodes. What the transformer, the
// validator and the evaluator do is reached through the services that they registered.
#include "engine/dom/document.h"

#include <algorithm>

#include "engine/com/classtable.h"
#include "engine/com/status.h"
#include "engine/dom/documentwriter.h"
#include "engine/dom/parseerror.h"
#include "engine/dom/utf8text.h"
#include "engine/source/comstream.h"
#include "engine/text/utf.h"
#include "engine/text/worded.h"

namespace engine::dom {

using com::Exception;
using com::fail;
using com::guarded;
using com::textOf;
using text::worded;

namespace {

constinit Transformer* theTransformer = nullptr;
constinit Evaluator* theEvaluator = nullptr;

// What the call on this thread that has just failed had to say.
std::string takeDescription() {
    com::Ref<IErrorInfo> info;
    BSTR text = nullptr;
    std::string description;
    if (GetErrorInfo(0, info.receive()) == S_OK && SUCCEEDED(info->GetDescription(&text))) {
        const std::unique_ptr<OLECHAR, decltype(&SysFreeString)> owner(text, SysFreeString);
        description = text::toUtf8(textOf(text));
    }
    return description.empty() ? worded("The document could not be validated while it was loaded.")
                               : description;
}

}  // namespace

void setTransformer(Transformer* transformer) noexcept {
    theTransformer = transformer;
}
Transformer* transformer() noexcept {
    return theTransformer;
}

void setEvaluator(Evaluator* evaluator) noexcept {
    theEvaluator = evaluator;
}
Evaluator* evaluator() noexcept {
    return theEvaluator;
}

Document::Document(std::uint32_t maxTextInBytes)
    : Object(nullptr, kDocumentNode), maxTextInBytes_(maxTextInBytes), content_(newTree()) {
    standIn(*content_);
}

Document::~Document() = default;

HRESULT Document::create(REFIID iid, void** object) noexcept {
    return guarded([&] { return com::make<Document>()->QueryInterface(iid, object); });
}

void Document::install(OwnedTree content) noexcept {
    standIn(*content);
    content_.swap(content);
}

Document::OwnedTree Document::newTree() {
    return OwnedTree(new LiveTree(*this, maxTextInBytes_));
}

void Document::replaceContent(const std::function<void(reader::EventSink&)>& fill) {
    OwnedTree content = newTree();
    TreeBuilder builder(content->tree(), WhiteSpace::KeepAll);
    fill(builder);
    lastError_ = {};
    install(std::move(content));
}

// The node's object as the interface that its kind has.
template <typename Made>
com::Ref<Made> Document::made(NodeId node) {
    return com::Ref<Made>::adopt(static_cast<Made*>(nodeObject(liveTree(), node).detach()));
}

HRESULT Document::get_documentElement(IXMLDOMElement** element) {
    return com::give(element, "get_documentElement",
                     [&] { return made<IXMLDOMElement>(tree().documentElement()); });
}

HRESULT Document::createElement(BSTR name, IXMLDOMElement** element) {
    return com::give(element, "createElement", [&] {
        liveTree().makeRoom();
        const NameId tag = liveTree().nameFor(textOf(name), "an element");
        return made<IXMLDOMElement>(tree().createElement(tag));
    });
}

HRESULT Document::createTextNode(BSTR text, IXMLDOMText** node) {
    return com::give(node, "createTextNode", [&] {
        liveTree().makeRoom();
        return made<IXMLDOMText>(tree().createText(NodeKind::Text, textOf(text)));
    });
}

// The target "xml" is allowed: that is how callers ask for an XML declaration.
HRESULT Document::createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** node) {
    return com::give(node, "createProcessingInstruction", [&] {
        liveTree().makeRoom();
        const NameId name = liveTree().nameFor(textOf(target), "a processing instruction");
        const Utf8Text content(textOf(data));
        checkInstructionData(content.view());
        return made<IXMLDOMProcessingInstruction>(tree().createProcessingInstruction(name, content.view()));
    });
}

HRESULT Document::createNode(VARIANT type, BSTR name, BSTR namespaceUri, IXMLDOMNode** node) {
    return com::give(node, "createNode", [&] {
        if (type.vt != VT_I4 || type.lVal != NODE_ELEMENT)
            throw Exception(E_NOTIMPL, "createNode makes elements only.");
        liveTree().makeRoom();
        const NameId tag = liveTree().nameFor(textOf(name), "an element");
        const Utf8Text uri(textOf(namespaceUri));
        const std::string prefix(tree().names().text(tag).substr(0, tree().names().prefixLength(tag)));
        const bool isPrefixed = !prefix.empty();
        if (isPrefixed && (uri.view().empty() || prefix == "xmlns" || prefix == "xml")) {
            throw Exception(E_INVALIDARG, "The prefix '" + prefix + "' cannot stand for the namespace '" +
                                              std::string(uri.view()) + "'.");
        }
        auto element = made<IXMLDOMElement>(tree().createElement(tag));
        if (!uri.view().empty()) {
            std::string declaration = "xmlns";
            if (isPrefixed) declaration.append(":").append(prefix);
            tree().setAttribute(Binding::of(element.get())->node(), declaration, uri.view());
        }
        return element;
    });
}

namespace {

// Empty if the object is no stream.
com::Ref<ISequentialStream> streamOf(IUnknown* object) {
    void* found = nullptr;
    if (object == nullptr || FAILED(object->QueryInterface(IID_ISequentialStream, &found))) return {};
    return com::Ref<ISequentialStream>::adopt(static_cast<ISequentialStream*>(found));
}

}  // namespace

HRESULT Document::load(VARIANT source, VARIANT_BOOL* loaded) {
    if (loaded == nullptr) return com::nullPointer("load");
    *loaded = VARIANT_FALSE;
    return guarded([&] {
        if (source.vt == VT_UNKNOWN || source.vt == VT_DISPATCH) {
            if (const auto stream = streamOf(source.punkVal)) {
                source::ComByteStream bytes(*stream);
                return loadFrom(source::Input::stream(bytes), {}, loaded);
            }
        }
        if (source.vt != VT_BSTR) {
            install(newTree());
            lastError_ = {
                E_INVALIDARG,
                {},
                "A document is loaded from a path or a file URL, given as a string, or from a stream.",
                {},
                0};
            return fail(E_INVALIDARG, lastError_.reason);
        }
        const source::Input input = source::Input::location(textOf(source.bstrVal));
        return loadFrom(input, input.path(), loaded);
    });
}

HRESULT Document::loadXML(BSTR text, VARIANT_BOOL* loaded) {
    if (loaded == nullptr) return com::nullPointer("loadXML");
    *loaded = VARIANT_FALSE;
    return loadFrom(source::Input::text(textOf(text)), {}, loaded);
}

// S_FALSE means that the document was rejected; the record says why. The tree that stays behind then is
// empty. One that was never used is filled where it is, unless from a stream, whose owner may use the
// document while it is read.
HRESULT Document::loadFrom(const source::Input& input, std::string url, VARIANT_BOOL* loaded) noexcept {
    OwnedTree content;
    LiveTree* target = nullptr;
    const HRESULT status = guarded([&] {
        if (!content_->isUnused() || input.stream() != nullptr) content = newTree();
        target = content ? content.get() : content_.get();
        target->setUrl(std::move(url));
        lastError_ = build(input, *target);
        if (lastError_.failed()) return S_FALSE;
        *loaded = VARIANT_TRUE;
        return S_OK;
    });
    if (status != S_OK && target != nullptr) target->reset();
    if (content) install(std::move(content));
    if (FAILED(status)) {
        lastError_ = {};
        lastError_.code = status;
        (void)guarded([&] {  // the words are welcome, but may be more than there is memory for
            lastError_.reason = worded("There is not enough memory to load the document.");
            return S_OK;
        });
    }
    return status;
}

// Reads into an empty tree and, if that is wanted, validates what came.
source::ParseError Document::build(const source::Input& input, LiveTree& target) {
    source::ParseError error = dom::load(target.tree(), input, whiteSpace_, dtd_);
    if (error.failed() || !validatesOnParse_ || !schemas_) return error;
    std::vector<reader::Violation> found;
    const HRESULT status =
        schemas_->validateTree(target.source(kDocumentNode), ISchemaValidator::Find::First, &found);
    if (FAILED(status)) return {status, {}, takeDescription(), {}, 0};
    if (!found.empty()) error = std::move(found.front().error);
    return error;
}

HRESULT Document::get_parseError(IXMLDOMParseError** error) {
    return com::give(error, "get_parseError", [&] { return com::make<ParseErrorObject>(lastError_); });
}

HRESULT Document::get_validateOnParse(VARIANT_BOOL* validate) {
    if (validate == nullptr) return com::nullPointer("get_validateOnParse");
    *validate = validatesOnParse_ ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

HRESULT Document::put_validateOnParse(VARIANT_BOOL validate) {
    validatesOnParse_ = validate != VARIANT_FALSE;
    return S_OK;
}

// Intentional: only VARIANT_TRUE keeps all white space; 1, which looks just as true, does not.
HRESULT Document::put_preserveWhiteSpace(VARIANT_BOOL preserve) {
    whiteSpace_ = preserve == VARIANT_TRUE ? WhiteSpace::KeepAll : WhiteSpace::DropLayout;
    return S_OK;
}

HRESULT Document::putref_schemas(VARIANT schemas) {
    const bool isObject = schemas.vt == VT_DISPATCH || schemas.vt == VT_UNKNOWN;
    if (schemas.vt == VT_NULL || schemas.vt == VT_EMPTY || (isObject && schemas.punkVal == nullptr)) {
        schemas_ = {};
        return S_OK;
    }
    void* validator = nullptr;
    if (!isObject || FAILED(schemas.punkVal->QueryInterface(IID_ISchemaValidator, &validator))) {
        return fail(E_INVALIDARG,
                    "The schemas for a document must be a schema collection of this XML library.");
    }
    schemas_ = com::Ref<ISchemaValidator>::adopt(static_cast<ISchemaValidator*>(validator));
    return S_OK;
}

HRESULT Document::validate(IXMLDOMParseError** error) {
    if (error == nullptr) return com::nullPointer("validate");
    *error = nullptr;
    return guarded([&] {
        if (!schemas_) throw Exception(E_FAIL, "The document has no schemas to be validated against.");
        auto found = std::make_shared<std::vector<reader::Violation>>();
        const HRESULT status =
            schemas_->validateTree(liveTree().source(kDocumentNode), validation_, found.get());
        if (FAILED(status)) return status;
        const bool isValid = found->empty();
        *error = isValid ? com::make<ParseErrorObject>(source::ParseError()).detach()
                         : com::make<ParseErrorObject>(std::move(found), std::size_t{0}).detach();
        return isValid ? S_OK : S_FALSE;
    });
}

HRESULT Document::get_schemas(VARIANT* schemas) {
    if (schemas == nullptr) return com::nullPointer("get_schemas");
    VariantInit(schemas);
    schemas->vt = VT_NULL;
    if (!schemas_) return S_FALSE;
    schemas->vt = VT_UNKNOWN;
    schemas->punkVal = com::Ref<IUnknown>::share(schemas_.get()).detach();
    return S_OK;
}

namespace {

// Declarations as they stand in a start tag: read as those of one.
std::vector<std::pair<std::string, std::string>> prefixesIn(std::u16string_view declarations) {
    const std::u16string element = u"<e " + std::u16string(declarations) + u"/>";
    Tree tree;
    const bool isRead = !dom::load(tree, source::Input::text(element), WhiteSpace::KeepAll).failed();
    const NodeId root = isRead ? tree.documentElement() : kNoNode;
    std::vector<std::pair<std::string, std::string>> prefixes;
    bool isWrong = !isRead || tree.firstChild(root) != kNoNode || tree.nextSibling(root) != kNoNode;
    for (std::uint32_t i = 0; !isWrong && i < tree.attributeCount(root); ++i) {
        const AttributeView attribute = tree.attribute(root, i);
        isWrong = attribute.prefixLength == 0 ||
                  (tree.names().flags(tree.attributeNameId(root, i)) & Names::kDeclaration) == 0;
        prefixes.emplace_back(attribute.name.substr(attribute.name.find(':') + 1), attribute.value);
    }
    if (isWrong) {
        throw Exception(
            E_INVALIDARG,
            worded("The prefixes of expressions are declared as in a start tag: xmlns:p=\"uri\" ..."));
    }
    return prefixes;
}

}  // namespace

ExpressionValue Document::evaluate(const NodeSource& context, BSTR expression, ExpressionValue::Kind kind) {
    Evaluator* const available = evaluator();
    if (available == nullptr)
        throw Exception(E_NOTIMPL, "This build has no evaluator: it cannot compute expressions.");
    expressionError_ = 0;
    const Expression asked{text::toUtf8(textOf(expression)), prefixes_};
    try {
        return available->evaluate(context, asked, kind);
    } catch (const ExpressionError& error) {
        expressionError_ = error.column();
        throw Exception(E_INVALIDARG,
                        error.column() == 0
                            ? error.reason()
                            : worded("column %1: %2", std::to_string(error.column()), error.reason()));
    }
}

ExpressionValue selectFrom(LiveTree& tree, NodeId node, BSTR expression) {
    // Every document of a tree is of this class.
    auto& document = static_cast<Document&>(tree.document());
    return document.evaluate(tree.source(node), expression, ExpressionValue::Kind::Nodes);
}

HRESULT Document::evaluate(IXMLDOMNode* context, BSTR expression, BSTR* text, double* number,
                           VARIANT_BOOL* truth) {
    using Kind = ExpressionValue::Kind;
    if (text != nullptr) *text = nullptr;
    if (number != nullptr) *number = 0;
    if (truth != nullptr) *truth = VARIANT_FALSE;
    return guarded([&] {
        const Binding* const binding = Binding::of(context);
        if (binding == nullptr)
            throw Exception(E_INVALIDARG,
                            "Expressions start at a document or an element of this XML library.");
        const Kind kind = text != nullptr ? Kind::Text : number != nullptr ? Kind::Number : Kind::Truth;
        const ExpressionValue value = evaluate(binding->liveTree().source(binding->node()), expression, kind);
        if (text != nullptr) *text = com::makeBstr(std::string_view(value.text));
        if (number != nullptr) *number = value.number;
        if (truth != nullptr) *truth = value.isTrue ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    });
}

HRESULT Document::getExpressionError(LONG* column) {
    if (column == nullptr) return com::nullPointer("getExpressionError");
    *column = static_cast<LONG>(expressionError_);
    return S_OK;
}

HRESULT Document::setProperty(BSTR name, VARIANT value) {
    return guarded([&] {
        if (textOf(name) == u"ProhibitDTD" && value.vt == VT_BOOL) {
            dtd_ = value.boolVal == VARIANT_FALSE ? reader::ReadOptions::Dtd::Internal
                                                  : reader::ReadOptions::Dtd::Prohibit;
            return S_OK;
        }
        if (textOf(name) == u"MultipleErrorMessages" && value.vt == VT_BOOL) {
            validation_ =
                value.boolVal == VARIANT_FALSE ? ISchemaValidator::Find::First : ISchemaValidator::Find::All;
            return S_OK;
        }
        if (textOf(name) == u"SelectionNamespaces" && value.vt == VT_BSTR) {
            prefixes_ = prefixesIn(textOf(value.bstrVal));
            return S_OK;
        }
        throw Exception(E_INVALIDARG, "There is no property '" + text::toUtf8(textOf(name).substr(0, 100)) +
                                          "' that takes a value of this type.");
    });
}

namespace {

class StreamSink final : public ByteSink {
public:
    explicit StreamSink(ISequentialStream& stream) noexcept : stream_(stream) {}

    void put(std::string_view bytes) override {
        while (!bytes.empty()) {
            const auto count = static_cast<ULONG>(std::min<std::size_t>(bytes.size(), 1u << 30));
            ULONG done = 0;
            const HRESULT status = stream_.Write(bytes.data(), count, &done);
            if (FAILED(status)) throw Exception(status, worded("The stream took no more of the document."));
            if (done == 0)
                throw Exception(STG_E_MEDIUMFULL, worded("The stream took no more of the document."));
            bytes.remove_prefix(std::min(done, count));
        }
    }

private:
    ISequentialStream& stream_;
};

}  // namespace

HRESULT Document::write(ISequentialStream* stream, const XMLWriteSettings* settings) {
    if (stream == nullptr || settings == nullptr) return com::nullPointer("write");
    return guarded([&] {
        const std::string encoding =
            settings->encoding == nullptr ? std::string() : text::toUtf8(settings->encoding);
        StreamSink sink(*stream);
        writeDocument(tree(),
                      {encoding, static_cast<WriteSettings::Declaration>(settings->declaration),
                       settings->indent, settings->indentBy == u'\t' ? '\t' : ' ', settings->indentCount},
                      sink);
        return S_OK;
    });
}

HRESULT Document::getPosition(IXMLDOMNode* element, LONG* line, LONG* column) {
    if (line == nullptr || column == nullptr) return com::nullPointer("getPosition");
    *line = *column = 0;
    return guarded([&] {
        const Binding* const binding = Binding::of(element);
        if (binding == nullptr || binding->kind() != NodeKind::Element)
            throw Exception(E_INVALIDARG, "Only elements of this XML library have a position.");
        const source::Position position = binding->liveTree().position(binding->node());
        *line = static_cast<LONG>(position.line);
        *column = static_cast<LONG>(position.column);
        return position.line == 0 ? S_FALSE : S_OK;
    });
}

}  // namespace engine::dom

namespace {
engine::com::ClassEntry documentClass{CLSID_DOMDocument60, engine::dom::Document::create};
engine::com::ClassEntry freeClass{CLSID_FreeThreadedDOMDocument60, engine::dom::Document::create};
}  // namespace

// The name by which the link asks for this file; see CMakeLists.txt.
extern "C" const bool engineDomRegistered;
const bool engineDomRegistered =
    engine::com::registerClass(documentClass) && engine::com::registerClass(freeClass);
