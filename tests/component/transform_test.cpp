#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/text.h"
#include "tests/component/fixture.h"
#include "tests/component/platform/classes.h"

namespace {

using namespace component_test;

constexpr const char* kNameOfRoot =
    "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
    "<xsl:output method='text'/><xsl:template match='/'>name=<xsl:value-of select='name(*)'/></xsl:template>"
    "</xsl:stylesheet>";

// A parser from elsewhere, which has no interface name of ours.
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
    EXPECT_TRUE(isWith(errorOf(source), prefix, traits::kDescription));
    EXPECT_FALSE(source->transformToDocument(empty.get(), makeDom().get()));
    EXPECT_TRUE(errorOf(source).starts_with(prefix));
    DomParser noDocument;
    {
        const FailingClass failing(msxml::kDocumentClass);
        noDocument = makeDom();
    }
    EXPECT_FALSE(source->transformToDocument(sheet.get(), noDocument.get()));
    EXPECT_TRUE(errorOf(source).starts_with(prefix));
    EXPECT_FALSE(
        source->transformToString(noDocument.get(), out));  // its root element raises without a description
    EXPECT_EQ(errorOf(source), prefix);
    EXPECT_EQ(utf8(out), "kept");
}

TEST(Transforming, ReplacesTheResultAndClearsTheError) {
    const DomParser source = load("<a><b>\xC3\xA9\xF0\x9F\x98\x80</b></a>");
    const DomParser sheet = load(kNameOfRoot);
    source->setRootElement(nullptr);
    KelString text(u"earlier");
    EXPECT_TRUE(source->transformToString(sheet.get(), text));
    EXPECT_EQ(utf8(text), "name=a");
    EXPECT_EQ(errorOf(source), "0 ");

    const DomParser copying = load(
        "<out xsl:version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
        "<xsl:copy-of select='/a/b'/></out>");
    const DomParser result = load("<earlier/>");
    EXPECT_TRUE(source->transformToDocument(copying.get(), result.get()));
    EXPECT_EQ(saved(result), "<out>\n\t<b>\xC3\xA9\xF0\x9F\x98\x80</b>\n</out>\n");
    EXPECT_EQ(errorOf(source), "0 ");
}

// The record of the source's last load is read after the output has been produced.
TEST(Transforming, ReportsTheSourcesFailedLoadAfterTheOutput) {
    const DomParser source = makeDom();
    const DomParser sheet = load(kNameOfRoot);
    EXPECT_FALSE(source->loadFromString(wide("<a></b>")));
    KelString text(u"earlier");
    EXPECT_FALSE(source->transformToString(sheet.get(), text));
    EXPECT_TRUE(isWith(errorOf(source), "3 Error while transforming  : ", traits::kMismatchInLine1));
    EXPECT_EQ(utf8(text), "name=");
    const DomParser result = load("<earlier/>");
    EXPECT_FALSE(source->transformToDocument(
        load("<new xsl:version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'/>").get(),
        result.get()));
    EXPECT_TRUE(isWith(errorOf(source), "3 Error while transforming  : ", traits::kMismatchInLine1));
    EXPECT_EQ(saved(result), "<new />\n");
}

TEST(Transforming, ReportsABadStyleSheetAndLeavesTheResult) {
    if (traits::kRejectsBadStyleSheets != nullptr) GTEST_SKIP() << traits::kRejectsBadStyleSheets;
    const DomParser source = load("<a/>");
    const DomParser sheet = load(
        "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
        "<xsl:template match='/'><xsl:value-of select='1 +'/></xsl:template></xsl:stylesheet>");
    const DomParser result = load("<kept/>");
    KelString text(u"kept");
    const std::string prefix = "6 Exception during transform: ";
    EXPECT_FALSE(source->transformToString(sheet.get(), text));
    EXPECT_TRUE(isWith(errorOf(source), prefix, traits::kDescription));
    EXPECT_FALSE(source->transformToDocument(sheet.get(), result.get()));
    EXPECT_TRUE(isWith(errorOf(source), prefix, traits::kDescription));
    EXPECT_EQ(utf8(text), "kept");
    EXPECT_EQ(saved(result), "<kept />\n");
}

// Hands out another parser's root element.
class Redirecting final : public MSDOMXml {
public:
    explicit Redirecting(IKelDOMXml& target) : target_(target) {}
    IKelDOMXmlElement* getRootElement() override { return target_.getRootElement(); }

private:
    IKelDOMXml& target_;
};

TEST(Transforming, AndSavingGoThroughTheParsersOwnRootElement) {
    const DomParser sheet = load(kNameOfRoot);
    const DomParser redirected(new Redirecting(*sheet.get()));
    EXPECT_EQ(saved(redirected), saved(sheet));
    KelString text;
    EXPECT_TRUE(load("<a/>")->transformToString(redirected.get(), text));
    EXPECT_EQ(utf8(text), "name=a");
}

// The element a for namespace urn:a, with a number in it.
constexpr const char* kSchema =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:a'>"
    "<xs:element name='a' type='xs:int'/></xs:schema>";

TEST(Validating, SaysWhetherAndWhyNot) {
    const Folder folder;
    const KelString uri = wide("urn:a");
    const KelString schema = wide(folder.write("a.xsd", kSchema));
    const DomParser parser = load("<a xmlns='urn:a'>1</a>");
    parser->setRootElement(nullptr);
    EXPECT_TRUE(parser->validate(uri, schema));
    EXPECT_EQ(errorOf(parser), "0 ");
    rootOf(parser)->setText(wide("one"));
    EXPECT_FALSE(parser->validate(uri, schema));
    EXPECT_TRUE(isWith(errorOf(parser), "3 Error while validating  : ", traits::kDescription));
    EXPECT_EQ(errorOf(parser).find("Line"), std::string::npos);
}

TEST(Validating, KeepsTheSchemaForLaterLoads) {
    if (traits::kValidatesWhileLoading != nullptr) GTEST_SKIP() << traits::kValidatesWhileLoading;
    const Folder folder;
    const DomParser parser = load("<a xmlns='urn:a'>1</a>");
    parser->setValidateOnParse(true);
    EXPECT_TRUE(parser->validate(wide("urn:a"), wide(folder.write("a.xsd", kSchema))));
    EXPECT_FALSE(parser->loadFromString(wide("<a xmlns='urn:a'>\none</a>")));
    EXPECT_TRUE(isWith(errorOf(parser), "3 Error while reading Xml  : ", traits::kInvalidWhileLoading));
    EXPECT_TRUE(parser->loadFromString(wide("<a xmlns='urn:a'>2</a>")));
    // A file that cannot be read, or is no schema, changes nothing about that.
    EXPECT_FALSE(parser->validate(wide("urn:a"), wide(folder.path("missing.xsd"))));
    EXPECT_THROW(parser->validate(wide("urn:a"), wide(folder.write("no.xsd", "<a/>"))), _com_error);
    EXPECT_FALSE(parser->loadFromString(wide("<a xmlns='urn:a'>two</a>")));
    EXPECT_TRUE(parser->loadFromString(wide("<a xmlns='urn:a'>2</a>"))) << "the first schema is gone";
    parser->setValidateOnParse(false);
    EXPECT_TRUE(parser->loadFromString(wide("<a xmlns='urn:a'>two</a>")));
}

TEST(Validating, LetsTheRejectionOfASchemaOut) {
    const Folder folder;
    const DomParser parser = load("<a/>");
    parser->setRootElement(nullptr);
    try {
        parser->validate(KelString(), wide(folder.write("no.xsd", "<a/>")));
        FAIL() << "taken as a schema";
    } catch (const _com_error& error) {
        EXPECT_LT(error.Error(), 0);
        EXPECT_TRUE(isWith(utf8(msxml::descriptionOf(error)), "", traits::kDescription));
    }
    EXPECT_EQ(errorOf(parser), "0 ");
}

TEST(Validating, ChecksTheSchemaFileAndItsCache) {
    const Folder folder;
    const DomParser parser = load("<a/>");
    const std::string path = folder.path("missing.xsd");
    EXPECT_FALSE(parser->validate(KelString(), wide(path)));
    EXPECT_EQ(errorOf(parser), "7 Error while validating " + path +
                                   " : The file doesn't exist or you don't have read rights to it");
    const FailingClass failing(msxml::kSchemaCacheClass);
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
