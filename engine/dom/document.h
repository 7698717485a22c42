// The document object: loads trees, makes nodes, and represents the document node of the tree it has.
// It counts from 1. Threads: a document, its nodes and everything got from them belong to one thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/com/extension.h"
#include "engine/dom/nodeobject.h"
#include "engine/dom/services.h"
#include "engine/dom/treebuilder.h"
#include "engine/reader/reader.h"

namespace engine::dom {

class Document final
    : public com::Object<Document, NodeObject<IXMLDOMDocument2>, IContentTarget, IXMLDocumentExtension> {
public:
    // An empty document; throws std::bad_alloc. The limit is for tests; see Table.
    explicit Document(std::uint32_t maxTextInBytes = Table<char>::kMax);
    ~Document();

    // As the class table wants it.
    [[nodiscard]] static HRESULT create(REFIID iid, void** object) noexcept;

    [[nodiscard]] void* part(REFIID iid) noexcept {
        void* found = Object::part(iid);
        return found != nullptr ? found : bindingPart(iid);
    }

    // An expression from a node of a tree of this document's, with the document's prefixes. Throws Exception,
    // and remembers where a wrong expression went wrong.
    [[nodiscard]] ExpressionValue evaluate(const NodeSource& context, BSTR expression,
                                           ExpressionValue::Kind kind);

    void replaceContent(const std::function<void(reader::EventSink&)>& fill) override;

    HRESULT get_documentElement(IXMLDOMElement** element) override;
    HRESULT createElement(BSTR name, IXMLDOMElement** element) override;
    HRESULT createTextNode(BSTR text, IXMLDOMText** node) override;
    HRESULT createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** node) override;
    HRESULT createNode(VARIANT type, BSTR name, BSTR namespaceUri, IXMLDOMNode** node) override;
    HRESULT load(VARIANT source, VARIANT_BOOL* loaded) override;
    HRESULT get_parseError(IXMLDOMParseError** error) override;
    HRESULT put_async(VARIANT_BOOL) override { return S_OK; }  // a load has always ended when it returns
    HRESULT loadXML(BSTR text, VARIANT_BOOL* loaded) override;
    HRESULT get_validateOnParse(VARIANT_BOOL* validate) override;
    HRESULT put_validateOnParse(VARIANT_BOOL validate) override;
    HRESULT put_resolveExternals(VARIANT_BOOL) override { return S_OK; }  // nothing external is ever read
    HRESULT put_preserveWhiteSpace(VARIANT_BOOL preserve) override;
    HRESULT get_schemas(VARIANT* schemas) override;
    HRESULT putref_schemas(VARIANT schemas) override;
    HRESULT validate(IXMLDOMParseError** error) override;
    HRESULT setProperty(BSTR name, VARIANT value) override;
    HRESULT getPosition(IXMLDOMNode* element, LONG* line, LONG* column) override;
    HRESULT evaluate(IXMLDOMNode* context, BSTR expression, BSTR* text, double* number,
                     VARIANT_BOOL* truth) override;
    HRESULT getExpressionError(LONG* column) override;
    HRESULT write(ISequentialStream* stream, const XMLWriteSettings* settings) override;

private:
    struct Retire {
        void operator()(LiveTree* tree) const noexcept { tree->retire(); }
    };
    using OwnedTree = std::unique_ptr<LiveTree, Retire>;

    template <typename Made>
    [[nodiscard]] com::Ref<Made> made(NodeId node);
    HRESULT loadFrom(const source::Input& input, std::string url, VARIANT_BOOL* loaded) noexcept;
    source::ParseError build(const source::Input& input, LiveTree& target);
    [[nodiscard]] OwnedTree newTree();
    void clear();
    void install(OwnedTree content) noexcept;

    std::uint32_t maxTextInBytes_;
    OwnedTree content_;
    source::ParseError lastError_;
    WhiteSpace whiteSpace_ = WhiteSpace::DropLayout;
    reader::ReadOptions::Dtd dtd_ = reader::ReadOptions::Dtd::Prohibit;
    bool validatesOnParse_ = true;
    com::Ref<ISchemaValidator> schemas_;
    ISchemaValidator::Find validation_ = ISchemaValidator::Find::First;
    std::vector<std::pair<std::string, std::string>> prefixes_;  // of expressions
    std::uint32_t expressionError_ = 0;                          // column, from 1
};

}  // namespace engine::dom
