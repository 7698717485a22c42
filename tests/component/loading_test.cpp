#include <algorithm>
#include <functional>
#include <limits>

#include "KelBasicTypes/binio.h"
#include "KelBasicTypes/keltrivialtranslator.h"
#include "KelBasicTypes/message.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/ikeldomxmlv3.h"
#include "tests/component/fixture.h"
#include "tests/component/platform/classes.h"

namespace {

using namespace component_test;

constexpr const char* kReadRights = " : The file doesn't exist or you don't have read rights to it";

// A stream over bytes in memory that delivers at most `limit` of them, a few at a time.
class MemoryStream final : public BinInput {
public:
    explicit MemoryStream(std::string_view bytes, std::size_t limit = ~std::size_t{0})
        : bytes_(bytes), limit_(limit), position_(bytes.size() / 2) {}

    std::size_t readRaw(void* buffer, std::size_t byteCount) override {
        const std::size_t end = std::min(bytes_.size(), limit_);
        const std::size_t count =
            position_ < end ? std::min({byteCount, end - position_, std::size_t{3}}) : 0;
        bytes_.copy(static_cast<char*>(buffer), count, position_);
        position_ += count;
        return count;
    }
    std::int64_t tell() override { return static_cast<std::int64_t>(position_); }
    bool seek(std::int64_t position, bool fromStart) override {
        position_ = static_cast<std::size_t>(position) + (fromStart ? 0 : bytes_.size());
        return true;
    }
    bool good() const override { return true; }
    void close() override {}

private:
    std::string_view bytes_;
    std::size_t limit_;
    std::size_t position_;
};

TEST(Loading, ReportsAFileThatCannotBeOpened) {
    const Folder folder;
    const DomParser parser = makeDom();
    for (const std::string& path : {folder.path("missing.xml"), folder.path("."), std::string()}) {
        EXPECT_FALSE(parser->loadFromFile(wide(path)));
        EXPECT_EQ(errorOf(parser), "1 Error while reading " + path + kReadRights);
    }
    EXPECT_FALSE(parser->loadFromFile(wide("c:")));
    EXPECT_EQ(errorOf(parser), std::string("1 Error while reading c:\\") + kReadRights);
}

TEST(Loading, ReportsWhereAndWhyTheEngineRejectsADocument) {
    const Folder folder;
    const std::string path = folder.write("mismatched.xml", "<a>\n  <b></c>\n</a>");
    const DomParser parser = makeDom();
    EXPECT_FALSE(parser->loadFromFile(wide(path)));
    EXPECT_TRUE(isWith(errorOf(parser), "3 Error while reading " + path + "  : ", traits::kMismatchInLine2));
    EXPECT_FALSE(parser->loadFromString(wide("<a>\n  <b></c>\n</a>")));
    EXPECT_TRUE(isWith(errorOf(parser), "3 Error while reading Xml  : ", traits::kMismatchInLine2));
    // Nothing is left of an earlier content, and a success clears the error.
    EXPECT_EQ(statusOf([&] { rootOf(parser)->getName(); }), E_POINTER);
    EXPECT_TRUE(parser->loadFromString(wide("<a/>")));
    EXPECT_EQ(errorOf(parser), "0 ");
    EXPECT_TRUE(parser->getError()->getMessage().isEmpty());
}

TEST(Loading, ReplacesTheWholeContentWhileHandlesKeepTheOldOne) {
    const DomParser parser = load("<old><child>text</child></old>");
    const Element old = rootOf(parser);
    ASSERT_TRUE(parser->loadFromString(wide("<new/>")));
    EXPECT_EQ(utf8(rootOf(parser)->getName()), "new");
    EXPECT_EQ(utf8(old->getName()), "old");
    EXPECT_EQ(utf8(Element(old->getChild(wide("child")))->getText()), "text");
}

TEST(Loading, WidensAStreamsBytesUpToTheFirstZero) {
    const DomParser parser = makeDom();
    MemoryStream ascii("<a>text</a>");
    EXPECT_TRUE(parser->loadFromStream(ascii));
    EXPECT_EQ(utf8(rootOf(parser)->getText()), "text");
    MemoryStream latin("<a>\xE9</a>");
    EXPECT_TRUE(parser->loadFromStream(latin));
    EXPECT_TRUE(rootOf(parser)->getText() == u"\xFFE9");
    MemoryStream cut(std::string_view("<a/>\0<b/>", 9));
    EXPECT_TRUE(parser->loadFromStream(cut));
    MemoryStream malformed("<a>");
    EXPECT_FALSE(parser->loadFromStream(malformed));
    EXPECT_EQ(parser->getError()->getCode(), IKelDOMXml::kRejectedByEngine);
}

TEST(Loading, LeavesErrorAndDocumentAloneWhenAStreamComesUpShort) {
    const DomParser parser = load("<kept/>");
    parser->setRootElement(nullptr);
    MemoryStream shortened("<a>text</a>", 5);
    EXPECT_FALSE(parser->loadFromStream(shortened));
    EXPECT_EQ(errorOf(parser), "4 Invalid Element Type");
    EXPECT_EQ(saved(parser), "<kept />\n");
}

TEST(Loading, SaysThatAStreamIsTooLongForMemory) {
    class Endless final : public BinInput {
    public:
        std::size_t readRaw(void*, std::size_t) override { return 0; }
        std::int64_t tell() override { return std::numeric_limits<std::int64_t>::max(); }
        bool seek(std::int64_t, bool) override { return true; }
        bool good() const override { return true; }
        void close() override {}
    } endless;
    const DomParser parser = load("<kept/>");
    EXPECT_EQ(statusOf([&] { parser->loadFromStream(endless); }), E_OUTOFMEMORY);
    EXPECT_EQ(saved(parser), "<kept />\n");
}

// Engine documents are asked not to keep layout white space, though with a value that is not VARIANT_TRUE.
TEST(Loading, DropsLayoutWhiteSpace) {
    const DomParser parser = load("<a>\n  <b>x</b>\n  <c/>\n</a>");
    EXPECT_EQ(utf8(rootOf(parser)->getText()), "");
    EXPECT_EQ(saved(parser), "<a>\n\t<b>x</b>\n\t<c />\n</a>\n");
}

TEST(Loading, DropsNoOtherWhiteSpace) {
    if (traits::kKeepsWhiteSpaceOfTexts != nullptr) GTEST_SKIP() << traits::kKeepsWhiteSpaceOfTexts;
    const DomParser parser = load("<a>\n  <b> </b>\n  <c>x <d/> y</c>\n</a>");
    EXPECT_EQ(utf8(rootOf(parser)->getText()), "");
    EXPECT_EQ(utf8(Element(rootOf(parser)->getChild(wide("b")))->getText()), " ");
    EXPECT_EQ(utf8(Element(rootOf(parser)->getChild(wide("c")))->getText()), "x  y");
}

// Without an engine document.

class WithoutDocument : public ::testing::Test {
protected:
    FailingClass failing_{msxml::kDocumentClass};
    DomParser parser_ = makeDom();
};

TEST_F(WithoutDocument, TheParserIsHandedOutWithTheReason) {
    ASSERT_TRUE(parser_);
    EXPECT_EQ(errorOf(parser_), "5 Error -2147221164 instantiating DOMDocument60");
}

TEST_F(WithoutDocument, EachOperationReportsItInItsOwnWay) {
    KelString out(u"kept");
    const KelString path(u"c:");
    struct Row {
        const char* message;
        std::function<bool()> operation;
    };
    const DomParser& p = parser_;
    auto* const v3 = kel::queryInterface<IKelDOMXmlV3>(p.get());
    const Row rows[] = {
        {"5 Error while reading c:\\ : No DOM Object", [&] { return p->loadFromFile(path); }},
        {"5 Error while reading Xml : No DOM Object", [&] { return p->loadFromString(KelString(u"<a/>")); }},
        {"5 Error while writing XML : No DOM Object", [&] { return p->saveToString(out); }},
        {"5 Error while writing c:\\ : No DOM Object", [&] { return p->saveToFile(path); }},
        {"5 Error while transforming : No DOM Object", [&] { return p->transformToString(nullptr, out); }},
        {"5 Error while transforming : No DOM Object",
         [&] { return p->transformToDocument(nullptr, nullptr); }},
        {"5 Error while validating c:\\ : No DOM Object", [&] { return p->validate(KelString(), path); }},
        {"5 Error while reading c:\\ : No DOM Object", [&] { return v3->loadFile(path, 0); }},
        {"5 Error while writing c:\\ : No DOM Object", [&] { return v3->writeFile(path, 0, KelString()); }},
    };
    for (const Row& row : rows) {
        p->setRootElement(nullptr);
        ASSERT_EQ(errorOf(p), "4 Invalid Element Type");
        EXPECT_FALSE(row.operation());
        EXPECT_EQ(errorOf(p), row.message);
    }
    EXPECT_EQ(utf8(out), "kept");
}

TEST_F(WithoutDocument, OperationsThatDoNotCheckRaiseANullPointer) {
    const KelString name(u"a");
    EXPECT_EQ(statusOf([&] { parser_->getRootElement(); }), E_POINTER);
    EXPECT_EQ(statusOf([&] { parser_->createElement(name); }), E_POINTER);
    EXPECT_EQ(statusOf([&] { parser_->getRootElementItr(); }), E_POINTER);
    EXPECT_EQ(statusOf([&] { parser_->addProcessingInstruction(name, name); }), E_POINTER);
    EXPECT_EQ(errorOf(parser_), "5 Error -2147221164 instantiating DOMDocument60");
    parser_->setValidateOnParse(true);
    EXPECT_FALSE(parser_->getValidateOnParse());
}

// Messages.

class Rearranging final : public KelTrivialTranslator {
public:
    bool lookUp(const char* key, KelString& result) override {
        result.assignNarrow(std::string_view(key).find("%4") == std::string_view::npos ? key
                                                                                       : "%4 <- %1 (%2:%3)");
        return true;
    }
};

TEST(Messages, GoThroughTheCurrentTranslator) {
    IPtr<IKelTranslator> translator(new Rearranging);
    kel::setCurrentTranslator(translator.get());
    const Folder folder;
    const std::string path = folder.write("bad.xml", "<a></b>");
    const DomParser parser = makeDom();
    EXPECT_FALSE(parser->loadFromFile(wide(path)));
    const std::string message = errorOf(parser);
    const std::size_t arrow = message.find(" <- " + path + ' ');
    ASSERT_NE(arrow, std::string::npos) << message;
    EXPECT_TRUE(isWith(message.substr(0, arrow), "3 ", traits::kMismatchReason));
    EXPECT_TRUE(isWith(message.substr(arrow), " <- " + path + ' ', traits::kMismatchPosition));
    kel::setCurrentTranslator(nullptr);
    parser->setRootElement(nullptr);
    EXPECT_EQ(errorOf(parser), "4 Invalid Element Type");
}

}  // namespace
