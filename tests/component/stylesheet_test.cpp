// Style sheets that are compiled once: parameters, messages, several results, and bytes.
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "KelBasicTypes/binfile.h"
#include "tests/component/fixture.h"

namespace {

using namespace component_test;

std::string sheet(const std::string& body, const std::string& output = "") {
    return "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform' xmlns:q='urn:q'"
           " exclude-result-prefixes='q'><x:output method='text'" +
           output + "/>\n" + body + "</x:stylesheet>";
}

class Messages final : public IKelXslMessageHandler {
public:
    void message(std::u16string_view text, bool isLast) override {
        lines.push_back((isLast ? "last: " : "message: ") + kel::toUtf8(text));
        if (throws) throw std::runtime_error("enough");
    }
    void warning(std::u16string_view text) override { lines.push_back("warning: " + kel::toUtf8(text)); }
    std::vector<std::string> lines;
    bool throws = false;
};

class StyleSheets : public ::testing::Test {
protected:
    static IPtr<IKelXslStyleSheet> make() {
        const SaxParser parser = makeSax();
        return IPtr<IKelXslStyleSheet>(kel::queryInterface<IKelXmlFactory>(parser.get())->createStyleSheet());
    }
    void compile(const std::string& text) { ASSERT_TRUE(sheet_->compileString(wide(text))) << message(); }
    std::string transformed(const DomParser& source) {
        KelString result;
        EXPECT_TRUE(sheet_->transformToString(source.get(), result)) << message();
        return utf8(result);
    }
    [[nodiscard]] std::string message() const {
        KelString text;
        return utf8(sheet_->getError()->getMessage(text));
    }
    [[nodiscard]] int code() const { return sheet_->getError()->getCode(); }

    const Folder folder_;
    const IPtr<IKelXslStyleSheet> sheet_ = make();
    const DomParser source_ = load("<a>t</a>");
};

TEST_F(StyleSheets, TakeParametersOfEverySortAndRunAgain) {
    if (traits::kTakesParameters != nullptr) GTEST_SKIP() << traits::kTakesParameters;
    compile(
        sheet("<x:param name='t' select=\"'default'\"/><x:param name='q:t' select='0'/><x:param name='b'/>"
              "<x:template match='/'><x:value-of select=\"concat($t, '|', $q:t * 2, '|', boolean($b))\"/>"
              "</x:template>"));
    EXPECT_EQ(transformed(source_), "default|0|false");
    EXPECT_TRUE(sheet_->setTextParameter(u"t", u"", u"it's \"quoted\" & <more>"));
    EXPECT_TRUE(sheet_->setNumberParameter(u"t", u"urn:q", -1.25));
    EXPECT_TRUE(sheet_->setTruthParameter(u"b", u"", true));
    EXPECT_TRUE(sheet_->setTextParameter(u"unknown", u"", u"ignored"));
    EXPECT_EQ(transformed(source_), "it's \"quoted\" & <more>|-2.5|true");
    EXPECT_TRUE(sheet_->setTextParameter(u"t", u"", u""));
    EXPECT_TRUE(sheet_->setNumberParameter(u"t", u"urn:q", std::numeric_limits<double>::infinity()));
    EXPECT_TRUE(sheet_->setTruthParameter(u"b", u"", false));
    EXPECT_EQ(transformed(load("<other/>")), "|Infinity|false");
    sheet_->clearParameters();
    EXPECT_EQ(transformed(source_), "default|0|false");
    for (const char16_t* const wrong : {u"", u"q:t", u"a b", u"{urn:q}t"}) {
        EXPECT_FALSE(sheet_->setTextParameter(wrong, u"", u"x"));
        EXPECT_EQ(code(), IKelXmlError::kInvalidArgument);
    }
}

TEST_F(StyleSheets, ReportMessagesAndWarnings) {
    if (traits::kReportsMessages != nullptr) GTEST_SKIP() << traits::kReportsMessages;
    Messages messages;
    sheet_->setMessageHandler(&messages);
    compile(
        sheet("<x:param name='end' select='false()'/><x:template match='/'><x:message>one <x:value-of "
              "select='a'/></x:message><x:message>two\n</x:message><x:if test='false()'><x:unheard/></x:if>"
              "<x:if test='$end'><x:message terminate='yes'>three</x:message></x:if>result</x:template>"));
    ASSERT_EQ(messages.lines.size(), 1u);
    EXPECT_TRUE(messages.lines[0].starts_with("warning: ") &&
                messages.lines[0].find("unheard") != std::string::npos)
        << messages.lines[0];
    messages.lines.clear();
    EXPECT_EQ(transformed(source_), "result");
    EXPECT_EQ(messages.lines, (std::vector<std::string>{"message: one t", "message: two"}));
    messages.lines.clear();
    EXPECT_TRUE(sheet_->setTruthParameter(u"end", u"", true));
    KelString result(u"as it was");
    EXPECT_FALSE(sheet_->transformToString(source_.get(), result));
    EXPECT_EQ(code(), IKelXmlError::kTransformFailed);
    EXPECT_NE(message().find("three"), std::string::npos);
    EXPECT_EQ(messages.lines, (std::vector<std::string>{"message: one t", "message: two", "last: three"}));
    EXPECT_EQ(utf8(result), "as it was");
    messages.throws = true;
    EXPECT_THROW(sheet_->transformToString(source_.get(), result), std::runtime_error);
    sheet_->setMessageHandler(nullptr);
    sheet_->clearParameters();
    EXPECT_EQ(transformed(source_), "result");
}

TEST_F(StyleSheets, WriteBytesInTheEncodingThatTheyAskFor) {
    if (traits::kWritesEncodings != nullptr) GTEST_SKIP() << traits::kWritesEncodings;
    const struct {
        const char* encoding;
        std::string bytes;
    } rows[] = {
        {"", "\xC3\xA4\xE2\x82\xAC"},
        {" encoding='UTF-8'", "\xC3\xA4\xE2\x82\xAC"},
        {" encoding='ISO-8859-15'", "\xE4\xA4"},
    };
    const std::string path = folder_.path("out");
    for (const auto& row : rows) {
        compile(sheet("<x:template match='/'>\xC3\xA4\xE2\x82\xAC</x:template>", row.encoding));
        {
            BinOutputFile out(wide(path));
            EXPECT_TRUE(sheet_->transformToStream(source_.get(), out)) << message();
        }
        EXPECT_EQ(folder_.read("out"), row.bytes) << row.encoding;
        EXPECT_EQ(transformed(source_), "\xC3\xA4\xE2\x82\xAC") << "a text is UTF-16 all the same";
    }
    BinOutputFile nowhere(wide(folder_.path("no/such/folder")));
    EXPECT_FALSE(sheet_->transformToStream(source_.get(), nowhere));
    EXPECT_EQ(code(), IKelXmlError::kFileNotReadable);
}

TEST_F(StyleSheets, PutAResultIntoADocument) {
    std::string asXml = sheet("<x:template match='/'><r><x:copy-of select='*'/></r></x:template>");
    asXml.replace(asXml.find("method='text'"), 13, "method='xml'");
    compile(asXml);
    const DomParser result = load("<old/>");
    ASSERT_TRUE(sheet_->transformToDocument(source_.get(), result.get())) << message();
    EXPECT_EQ(utf8(rootOf(result)->getName()), "r");
    EXPECT_FALSE(sheet_->transformToDocument(source_.get(), nullptr));
    EXPECT_EQ(code(), IKelXmlError::kInvalidArgument);
}

TEST_F(StyleSheets, SayWhyTheyAreRejectedAndKeepTheOneBefore) {
    KelString result;
    EXPECT_FALSE(sheet_->transformToString(source_.get(), result));
    EXPECT_EQ(code(), IKelXmlError::kNotCompiled);
    compile(sheet("<x:template match='/'>good</x:template>"));
    EXPECT_FALSE(sheet_->compileString(wide("<x:stylesheet\n")));
    EXPECT_EQ(code(), IKelXmlError::kNotWellFormed);
    EXPECT_FALSE(sheet_->compileFile(wide(folder_.path("missing.xsl"))));
    EXPECT_EQ(code(), IKelXmlError::kFileNotReadable);
    if (traits::kRejectsBadStyleSheets == nullptr) {
        const std::string path = folder_.write("bad.xsl", sheet("\n<x:template match='['/>"));
        EXPECT_FALSE(sheet_->compileFile(wide(path)));
        EXPECT_EQ(code(), IKelXmlError::kRejected);
        EXPECT_NE(message().find(path), std::string::npos);
        EXPECT_FALSE(sheet_->transformToString(nullptr, result));
        EXPECT_EQ(code(), IKelXmlError::kInvalidArgument);
    }
    EXPECT_EQ(transformed(source_), "good");
    const std::string main = folder_.write("main.xsl", sheet("<x:include href='part.xsl'/>"));
    (void)folder_.write("part.xsl", sheet("<x:template match='/'>part</x:template>"));
    ASSERT_TRUE(sheet_->compileFile(wide(main))) << message();
    EXPECT_EQ(transformed(source_), "part");
}

}  // namespace
