#include "engine/com/classtable.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/msdomxml.h"
#include "tests/component/fixture.h"

namespace {

using namespace component_test;

constexpr const char* kNameOfRoot =
    "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
    "<xsl:output method='text'/><xsl:template match='/'>name=<xsl:value-of select='name(*)'/></xsl:template>"
    "</xsl:stylesheet>";

// A parser from elsewhere, which answers to no name of ours.
class ForeignParser final : public MSDOMXml {
public:
    void queryInterface(const char*, void** out, bool) override { *out = nullptr; }
};

TEST(Transforming, ChecksTheStyleSheetFirstAndThenTheResult) {
    const DomParser source = load("<a/>");
    const DomParser sheet = load(kNameOfRoot);
    const DomParser foreign(new ForeignParser);
    KelString out(u"kept");
    for (IKelDOMXml* const bad :
         {static_cast<IKelDOMXml*>(nullptr), static_cast<IKelDOMXml*>(foreign.get())}) {
        EXPECT_FALSE(source->transformToString(bad, out));
        EXPECT_EQ(errorOf(source), "6 Error while transforming : Invalid StyleSheet");
        EXPECT_FALSE(source->transformToDocument(bad, bad));
        EXPECT_EQ(errorOf(source), "6 Error while transforming : Invalid StyleSheet");
        EXPECT_FALSE(source->transformToDocument(sheet.get(), bad));
        EXPECT_EQ(errorOf(source), "6 Error while transforming : Invalid Result");
    }
    EXPECT_EQ(utf8(out), "kept");
}

// Whatever the engine has against it, its description ends the message.
TEST(Transforming, ReportsAnEmptyStyleSheetAndAMissingResultDocument) {
    const DomParser source = load("<a/>");
    const DomParser empty = makeDom();
    const DomParser sheet = load(kNameOfRoot);
    const std::string prefix = "6 Exception during transform: ";
    KelString out(u"kept");
    EXPECT_FALSE(source->transformToString(empty.get(), out));
    EXPECT_TRUE(errorOf(source).starts_with(prefix));
    EXPECT_GT(errorOf(source).size(), prefix.size());
    EXPECT_FALSE(source->transformToDocument(empty.get(), makeDom().get()));
    EXPECT_TRUE(errorOf(source).starts_with(prefix));
    DomParser noDocument;
    {
        const engine::com::ClassRefusal refusal(msxml::kDocumentClass);
        noDocument = makeDom();
    }
    EXPECT_FALSE(source->transformToDocument(sheet.get(), noDocument.get()));
    EXPECT_TRUE(errorOf(source).starts_with(prefix));
    EXPECT_FALSE(
        source->transformToString(noDocument.get(), out));  // its root element raises without a description
    EXPECT_EQ(errorOf(source), prefix);
    EXPECT_EQ(utf8(out), "kept");
}

TEST(Validating, ChecksTheSchemaFileAndItsCache) {
    const Folder folder;
    const DomParser parser = load("<a/>");
    const std::string path = folder.path("missing.xsd");
    EXPECT_FALSE(parser->validate(KelString(), wide(path)));
    EXPECT_EQ(errorOf(parser), "7 Error while validating " + path +
                                   " : The file doesn't exist or you don't have read rights to it");
    const engine::com::ClassRefusal refusal(msxml::kSchemaCacheClass);
    EXPECT_FALSE(parser->validate(KelString(), wide(folder.write("any.xsd", "<a/>"))));
    EXPECT_EQ(errorOf(parser), "7 Error -2147221164 instantiating XMLSchemaCache60");
}

TEST(Validating, WhileParsingIsSwitchedOnAndOff) {
    const DomParser parser = makeDom();
    for (const bool on : {false, true, false}) {
        parser->setValidateOnParse(on);
        EXPECT_EQ(parser->getValidateOnParse(), on);
    }
}

}  // namespace
