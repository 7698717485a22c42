#include <array>

#include "engine/dom/services.h"
#include "tests/engine/dom_fixture.h"

namespace {

using namespace domtest;
namespace reader = engine::reader;
using engine::dom::NodeSource;

// Finds documents valid whose document element is called "good"; fails for "odd".
class RootNameValidator final : public engine::dom::ISchemaValidator, public engine::com::Pooled {
public:
    HRESULT QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == engine::dom::IID_ISchemaValidator || iid == IID_IUnknown;
        *object = known ? this : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++count_; }
    ULONG Release() override {
        const ULONG left = --count_;
        if (left == 0) delete this;
        return left;
    }
    HRESULT validateTree(const NodeSource& source, Find, std::vector<reader::Violation>* found) override {
        const engine::dom::NodeId root = source.tree.documentElement();
        const std::string name(source.tree.name(root));
        if (name == "odd") return engine::com::fail(E_FAIL, "undecided");
        if (name != "good")
            found->push_back({{-7, source.tree.position(root), name + " is not good", {}, 0}, {}});
        return S_OK;
    }

private:
    ~RootNameValidator() = default;
    ULONG count_ = 1;
};

class DomServices : public DomTest {
protected:
    void TearDown() override {
        engine::dom::setTransformer(before_);
        DomTest::TearDown();
    }

private:
    engine::dom::Transformer* const before_ = engine::dom::transformer();
};

TEST_F(DomServices, SchemasValidateOnDemandAndWhileLoading) {
    const DocumentRef document = loaded(u"<bad/>");
    {
        const auto validator = engine::com::make<RootNameValidator>();
        VARIANT schemas{};
        schemas.vt = VT_UNKNOWN;
        schemas.punkVal = validator.get();
        ASSERT_EQ(document->putref_schemas(schemas), S_OK);
    }
    Ref<IXMLDOMParseError> error;
    EXPECT_EQ(document->validate(error.receive()), S_FALSE);
    LONG code = 0;
    EXPECT_EQ(error->get_errorCode(&code), S_OK);
    EXPECT_EQ(code, -7);
    EXPECT_EQ(reason(*document), "") << "the record of the load stays";

    EXPECT_FALSE(load(*document, u"<!--c-->\n <bad/>"));
    EXPECT_EQ(reason(*document), "bad is not good");
    EXPECT_FALSE(root(*document));
    ASSERT_EQ(document->get_parseError(error.receive()), S_OK);
    LONG line = 0;
    LONG column = 0;
    EXPECT_EQ(error->get_line(&line), S_OK);
    EXPECT_EQ(error->get_linepos(&column), S_OK);
    EXPECT_EQ(std::pair(line, column), std::pair(2, 2));
    EXPECT_FALSE(load(*document, u"<odd/>"));
    EXPECT_FALSE(load(*document, u"<good></bad>")) << "not well formed comes first";
    EXPECT_TRUE(load(*document, u"<good/>"));
    EXPECT_EQ(document->validate(error.receive()), S_OK);
    EXPECT_EQ(error->get_errorCode(&code), S_FALSE);

    VARIANT_BOOL validates = VARIANT_FALSE;
    EXPECT_EQ(document->get_validateOnParse(&validates), S_OK);
    EXPECT_EQ(validates, VARIANT_TRUE);
    EXPECT_EQ(document->put_validateOnParse(VARIANT_FALSE), S_OK);
    EXPECT_TRUE(load(*document, u"<bad/>"));
    EXPECT_EQ(document->putref_schemas(VARIANT{}), S_OK);
    EXPECT_EQ(document->validate(error.receive()), E_FAIL);
    EXPECT_EQ(error.get(), nullptr);
}

// Writes the names of both elements; fails half way through for a style sheet called "fails".
class NamesTransformer final : public engine::dom::Transformer {
public:
    std::u16string toText(const NodeSource& source, const NodeSource& styleSheet) override {
        check(styleSheet);
        return engine::text::toUtf16(name(source) + "+" + name(styleSheet));
    }
    void toEvents(const NodeSource& source, const NodeSource& styleSheet,
                  reader::EventSink& result) override {
        struct Nowhere final : reader::Locator {
            [[nodiscard]] reader::Position position() const override { return {}; }
        } nowhere;
        result.startDocument(nowhere);
        result.startElement("out", {});
        result.characters(" ");
        check(styleSheet);
        result.startElement(name(source), {});
        result.endElement(name(source));
        result.endElement("out");
        result.endDocument();
    }

private:
    static std::string name(const NodeSource& source) {
        const bool isDocument = source.tree.kind(source.node) == engine::dom::NodeKind::Document;
        return std::string(source.tree.name(isDocument ? source.tree.documentElement() : source.node));
    }
    static void check(const NodeSource& styleSheet) {
        if (name(styleSheet) == "fails") throw engine::com::Exception(E_FAIL, "the style sheet fails");
    }
};

TEST_F(DomServices, TransformationsReplaceTheResultOrLeaveIt) {
    NamesTransformer transformer;
    engine::dom::setTransformer(&transformer);
    const DocumentRef source = loaded(u"<in/>");
    const DocumentRef style = loaded(u"<style><fails/></style>");
    const Element good = root(*style);
    const Node bad = first(*good);
    BSTR text = nullptr;
    EXPECT_EQ(source->transformNode(good.get(), &text), S_OK);
    EXPECT_EQ(take(text), u"in+style");
    EXPECT_EQ(source->transformNode(bad.get(), &text), E_FAIL);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(lastDescription(), "the style sheet fails");

    // Into another document, into the source itself, into the style sheet's: all are read before they are
    // replaced.
    for (const DocumentRef& result : std::array{loaded(u"<was/>"), source, style}) {
        const std::string before = outline(*result);
        const std::string name = nameOf(*root(*source));
        VARIANT output{};
        output.vt = VT_DISPATCH;
        output.pdispVal = result.get();
        EXPECT_EQ(source->transformNodeToObject(bad.get(), output), E_FAIL);
        EXPECT_EQ(outline(*result), before);
        EXPECT_EQ(source->transformNodeToObject(good.get(), output), S_OK);
        EXPECT_EQ(outline(*result), "<out> <" + name + "/></>");
    }
}

TEST_F(DomServices, WithoutATransformerStyleSheetsAreRejected) {
    engine::dom::setTransformer(nullptr);
    const DocumentRef style = loaded(u"<style/>");
    BSTR result = nullptr;
    EXPECT_EQ(style->transformNode(root(*style).get(), &result), E_NOTIMPL);
    EXPECT_EQ(result, nullptr);
    EXPECT_NE(lastDescription().find("transformer"), std::string::npos);
}

}  // namespace
