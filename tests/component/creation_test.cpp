// How a parser sets up its engine document, with a document of our own instead of the engine's.
#include <string>

#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/engineclasses.h"
#include "tests/component/fixture.h"
#include "tests/component/platform/classes.h"
#include "unimplemented.h"

namespace {

using namespace component_test;

// Notes the properties put and fails the one chosen; every other operation returns E_NOTIMPL.
class PropertyRecorder final : public UnimplementedDocument {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        *object = nullptr;
        if (iid != IID_IUnknown && iid != IID_IXMLDOMDocument2) return E_NOINTERFACE;
        log += iid == IID_IUnknown ? "unknown " : "document2 ";
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

    HRESULT STDMETHODCALLTYPE load(VARIANT, VARIANT_BOOL*) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE loadXML(BSTR, VARIANT_BOOL*) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE putref_schemas(VARIANT) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE validate(IXMLDOMParseError**) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE get_validateOnParse(VARIANT_BOOL* on) override {
        *on = 1;
        return S_OK;
    }

    std::string log;
    std::string failing;
    ULONG count = 0;

private:
    HRESULT note(const std::string& property, VARIANT_BOOL value) {
        log += property + '=' + std::to_string(value) + ' ';
        return property == failing ? E_FAIL : S_OK;
    }
};

class Creation : public ::testing::Test {
protected:
    ~Creation() override {
        EXPECT_EQ(document_.count, 0u);  // every reference given back
    }

    PropertyRecorder document_;
    const ClassReplacement replacement_{msxml::kDocumentClass, document_};
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

TEST_F(Creation, IgnoresTheStatusOfSettingWhiteSpace) {
    document_.failing = "space";
    const DomParser parser = makeDom();
    ASSERT_TRUE(parser);
    EXPECT_EQ(errorOf(parser), "0 ");
    // And a failure status of a load or a validation is no parse error: it leaves as it is.
    const Folder folder;
    const KelString schema =
        wide(folder.write("a.xsd",
                          "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:a'>"
                          "<xs:element name='a' type='xs:int'/></xs:schema>"));
    EXPECT_EQ(statusOf([&] { parser->loadFromString(wide("<a/>")); }), E_ACCESSDENIED);
    EXPECT_EQ(statusOf([&] { parser->loadFromFile(schema); }), E_ACCESSDENIED);
    EXPECT_EQ(statusOf([&] { parser->validate(wide("urn:a"), schema); }), E_ACCESSDENIED);
    EXPECT_EQ(errorOf(parser), "0 ");
}

TEST_F(Creation, ThatTheEngineRejectsGivesNoParser) {
    for (const char* const failing : {"async", "externals"}) {
        document_.failing = failing;
        EXPECT_EQ(XmlDOM().getParser(), nullptr) << failing;
        EXPECT_EQ(statusOf([] { MSDOMXml parser; }), E_FAIL) << failing;
    }
}

}  // namespace
