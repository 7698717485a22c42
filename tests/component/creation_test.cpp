// How a parser sets up its engine document, with a document of our own in the engine's place.
#include <string>

#include "engine/com/classtable.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/msdomxml.h"
#include "tests/component/fixture.h"

namespace {

using namespace component_test;

// Notes the properties put and fails the one it is told to; whatever else is asked of it is not implemented.
class PropertyRecorder final : public IXMLDOMDocument2 {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        log += iid == IID_IUnknown ? "unknown " : iid == IID_IXMLDOMDocument2 ? "document2 " : "other ";
        *object = this;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++count; }
    ULONG STDMETHODCALLTYPE Release() override { return --count; }

    HRESULT STDMETHODCALLTYPE put_async(VARIANT_BOOL on) override { return note("async", on); }
    HRESULT STDMETHODCALLTYPE put_resolveExternals(VARIANT_BOOL on) override { return note("externals", on); }
    HRESULT STDMETHODCALLTYPE put_preserveWhiteSpace(VARIANT_BOOL on) override { return note("space", on); }
    HRESULT STDMETHODCALLTYPE put_validateOnParse(VARIANT_BOOL on) override { return note("validate", on); }

    HRESULT STDMETHODCALLTYPE get_nodeName(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_nodeValue(VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_nodeType(DOMNodeType*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_parentNode(IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_childNodes(IXMLDOMNodeList**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_firstChild(IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_nextSibling(IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_attributes(IXMLDOMNamedNodeMap**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE replaceChild(IXMLDOMNode*, IXMLDOMNode*, IXMLDOMNode**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE appendChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_ownerDocument(IXMLDOMDocument**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE cloneNode(VARIANT_BOOL, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_text(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_text(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE transformNode(IXMLDOMNode*, BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE transformNodeToObject(IXMLDOMNode*, VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_documentElement(IXMLDOMElement**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE createElement(BSTR, IXMLDOMElement**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE createTextNode(BSTR, IXMLDOMText**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE createProcessingInstruction(BSTR, BSTR,
                                                          IXMLDOMProcessingInstruction**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE load(VARIANT, VARIANT_BOOL*) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE get_parseError(IXMLDOMParseError**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE loadXML(BSTR, VARIANT_BOOL*) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE get_validateOnParse(VARIANT_BOOL* on) override {
        *on = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE putref_schemas(VARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE validate(IXMLDOMParseError**) override { return E_NOTIMPL; }

    std::string log;
    std::string failing;
    ULONG count = 0;

private:
    HRESULT note(const std::string& property, VARIANT_BOOL value) {
        log += property + '=' + std::to_string(value) + ' ';
        return property == failing ? E_FAIL : S_OK;
    }
};

PropertyRecorder* document = nullptr;  // what the class table makes while it is set

// Stands in front of the engine's own entry, which it asks while there is no document of ours.
HRESULT createDocument(REFIID iid, void** object) noexcept;
engine::com::ClassEntry ourEntry{msxml::kDocumentClass, createDocument};

HRESULT createDocument(REFIID iid, void** object) noexcept {
    if (document != nullptr) return document->QueryInterface(iid, object);
    const engine::com::ClassEntry* entry = ourEntry.next;
    while (entry->clsid != msxml::kDocumentClass) entry = entry->next;
    return entry->create(iid, object);
}

class Creation : public ::testing::Test {
protected:
    Creation() {
        [[maybe_unused]] static const bool isRegistered = engine::com::registerClass(ourEntry);
        document = &document_;
    }
    ~Creation() override {
        document = nullptr;
        EXPECT_EQ(document_.count, 0u);  // every reference given back
    }

    PropertyRecorder document_;
};

TEST_F(Creation, AsksForUnknownThenTheDocumentAndPutsThreeProperties) {
    const DomParser parser = makeDom();
    EXPECT_EQ(document_.log, "unknown document2 async=0 externals=-1 space=1 ");
    EXPECT_EQ(errorOf(parser), "0 ");
    document_.log.clear();
    parser->setValidateOnParse(true);
    parser->setValidateOnParse(false);
    EXPECT_EQ(document_.log, "validate=-1 validate=0 ");
    EXPECT_FALSE(parser->getValidateOnParse());  // 1 is not VARIANT_TRUE
}

TEST_F(Creation, DoesNotCareWhatTheEngineSaysToWhiteSpace) {
    document_.failing = "space";
    const DomParser parser = makeDom();
    ASSERT_TRUE(parser);
    EXPECT_EQ(errorOf(parser), "0 ");
    // And a failure status of a load is no parse error: it leaves as it is.
    EXPECT_EQ(statusOf([&] { parser->loadFromString(wide("<a/>")); }), E_ACCESSDENIED);
    EXPECT_EQ(errorOf(parser), "0 ");
}

TEST_F(Creation, ThatTheEngineRefusesGivesNoParser) {
    for (const char* const failing : {"async", "externals"}) {
        document_.failing = failing;
        EXPECT_EQ(XmlDOM().getParser(), nullptr) << failing;
        EXPECT_EQ(statusOf([] { MSDOMXml parser; }), E_FAIL) << failing;
    }
}

}  // namespace
