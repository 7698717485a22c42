// Documents from bytes with options, and written as they are: the third version of the parser.
#include <algorithm>
#include <filesystem>
#include <iostream>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binmemory.h"
#include "tests/component/fixture.h"

namespace {

using namespace component_test;
namespace fs = std::filesystem;

using Parser = IPtr<IKelDOMXmlV3>;
using V3 = IKelDOMXmlV3;

Parser makeParser() {
    const DomParser owner = makeDom();
    return Parser(kel::queryInterface<IKelDOMXmlV3>(owner.get()));
}
bool loadBytes(const Parser& parser, std::string_view bytes, unsigned options = 0) {
    return parser->loadBytes(bytes.data(), bytes.size(), options);
}
Parser loaded(std::string_view bytes, unsigned options = 0) {
    Parser parser = makeParser();
    EXPECT_TRUE(loadBytes(parser, bytes, options)) << bytes << ": " << errorOf(parser);
    return parser;
}
// The bytes that it is written as; what the error object says if it is not.
std::string written(const Parser& parser, unsigned options = 0, const char* encoding = "") {
    BinOutputMemory out;
    if (!parser->writeStream(out, options, wide(encoding))) return errorOf(parser);
    return {out.bytes().begin(), out.bytes().end()};
}
std::string text(const Parser& parser, unsigned options = 0) {
    KelString out(u"before");
    return parser->writeString(out, options) ? utf8(out) : errorOf(parser);
}
std::string position(const Parser& parser) {
    auto* const error = kel::queryInterface<IKelDOMXmlErrorV2>(parser->getError());
    return std::to_string(error->getLine()) + ':' + std::to_string(error->getColumn());
}
std::string bytesOf(std::u16string_view units) {
    return {reinterpret_cast<const char*>(units.data()), units.size() * 2};
}

TEST(Documents, Tour) {
    const DomParser parser = makeDom();
    // [begin tour]
    auto* const document = kel::queryInterface<IKelDOMXmlV3>(parser.get());
    const std::string_view bytes = "<shelf><book year='1815'>Emma</book><book>Ivanhoe</book></shelf>";
    if (!document->loadBytes(bytes.data(), bytes.size(), IKelDOMXmlV3::kKeepWhiteSpace)) return;
    const IPtr<IKelDOMXmlElementItrV2> undated(document->select(KelString(u"//book[not(@year)]"), nullptr));
    while (const IPtr<IKelDOMXmlElementV2> book{undated->takeNext()}) book->removeFromParent();
    KelString text;
    if (document->writeString(text, IKelDOMXmlV3::kIndent)) std::cout << utf8(text);
    // [end tour]
    EXPECT_NE(utf8(text).find("1815"), std::string::npos);
    EXPECT_EQ(utf8(text).find("Ivanhoe"), std::string::npos);
}

TEST(Documents, ComeFromBytesInTheirOwnEncoding) {
    const std::string utf16 =
        bytesOf(u"\xFEFF<?xml version='1.0' encoding='UTF-16'?><a>\x20AC\xD83D\xDE00</a>");
    struct Case {
        std::string bytes;
        const char* text;
    };
    const Case cases[] = {
        {"<a>\xE2\x82\xAC</a>", "\xE2\x82\xAC"},
        {"<?xml version='1.0' encoding='windows-1252'?><a>\x80</a>", "\xE2\x82\xAC"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>", "\xC3\xA9"},
        {utf16, "\xE2\x82\xAC\xF0\x9F\x98\x80"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(utf8(Element(loaded(c.bytes)->getRootElement())->getText()), c.text);
        BinInputMemory in({reinterpret_cast<const std::uint8_t*>(c.bytes.data()), c.bytes.size()});
        const Parser parser = makeParser();
        EXPECT_TRUE(parser->loadStream(in, 0)) << errorOf(parser);
        EXPECT_EQ(utf8(Element(parser->getRootElement())->getText()), c.text);
        const Folder folder;
        EXPECT_TRUE(parser->loadFile(wide(folder.write("a.xml", c.bytes)), 0));
        EXPECT_EQ(utf8(Element(parser->getRootElement())->getText()), c.text);
    }
}

// Options hold for one load; the one after it, an old one too, goes as ever.
TEST(Documents, LoadsWithOptionsOfOneLoad) {
    const char* const layout = "<a>\n <b/>\n</a>";
    const char* const doctype = "<!DOCTYPE a [<!ENTITY e 'text'><!ATTLIST a d CDATA 'default'>]><a>&e;</a>";
    const Parser parser = makeParser();
    EXPECT_TRUE(loadBytes(parser, layout, V3::kKeepWhiteSpace));
    EXPECT_EQ(written(parser), std::string(layout) + "\n");
    EXPECT_TRUE(loadBytes(parser, layout));
    if (traits::kKeepsWhiteSpaceOfTexts == nullptr) {
        EXPECT_EQ(written(parser), "<a><b/></a>\n");
    }
    if (traits::kProhibitsDoctypes != nullptr) GTEST_SKIP() << traits::kProhibitsDoctypes;
    EXPECT_TRUE(loadBytes(parser, doctype, V3::kAllowDoctype)) << errorOf(parser);
    const Element root(parser->getRootElement());
    EXPECT_EQ(utf8(root->getText()) + utf8(root->getAttribute(wide("d"))), "textdefault");
    EXPECT_FALSE(loadBytes(parser, doctype));
    EXPECT_EQ(parser->getError()->getCode(), 3);
    EXPECT_FALSE(parser->loadFromString(wide(doctype)));
    EXPECT_TRUE(parser->loadFromString(wide(layout)));
    EXPECT_EQ(saved(DomParser(parser.get())), "<a>\n\t<b />\n</a>\n");
}

TEST(Documents, ReportWhyAndWhereALoadIsRejected) {
    if (traits::kKeepsPositions != nullptr) GTEST_SKIP() << traits::kKeepsPositions;
    const Parser parser = makeParser();
    EXPECT_FALSE(loadBytes(parser, "<a>\n <b></c></a>"));
    EXPECT_EQ(
        errorOf(parser),
        "3 Error while reading Xml  : Line 2, column 5 : End tag 'c' does not match the start tag 'b'.");
    EXPECT_EQ(position(parser), "2:5");
    KelString reason;
    EXPECT_EQ(utf8(kel::queryInterface<IKelDOMXmlErrorV2>(parser->getError())->getReason(reason)),
              "End tag 'c' does not match the start tag 'b'.");
    EXPECT_FALSE(parser->loadFromString(wide("<a>")));
    EXPECT_EQ(position(parser), "1:1") << "of the older loads, too";
    for (const char* cut : {"", "<", "<a", "<a b='", "<a><!--", "<?xml version='1.0'?>"}) {
        EXPECT_FALSE(loadBytes(parser, cut)) << cut;
        EXPECT_EQ(parser->getError()->getCode(), 3) << cut;
    }
    EXPECT_FALSE(parser->loadBytes(nullptr, 0, 0));
    EXPECT_FALSE(parser->loadFile(wide("/no such file"), 0));
    EXPECT_EQ(parser->getError()->getCode(), 1);
    EXPECT_EQ(position(parser), "0:0");
    // Small entities that grow beyond all measure, within the limits of the SAX parser.
    std::string bomb = "<!DOCTYPE a [<!ENTITY e0 'ten bytes.'>";
    for (int i = 1; i < 12; ++i) {
        const std::string inner = "&e" + std::to_string(i - 1) + ";";
        bomb += "<!ENTITY e" + std::to_string(i) + " '";
        for (int n = 0; n < 10; ++n) bomb += inner;
        bomb += "'>";
    }
    EXPECT_FALSE(loadBytes(parser, bomb + "]><a>&e11;</a>", V3::kAllowDoctype));
    EXPECT_FALSE(
        loadBytes(parser, "<!DOCTYPE a [<!ENTITY e SYSTEM '/etc/passwd'>]><a>&e;</a><", V3::kAllowDoctype));
    const Parser empty =
        loaded("<!DOCTYPE a [<!ENTITY e SYSTEM '/etc/passwd'>]><a>&e;</a>", V3::kAllowDoctype);
    EXPECT_EQ(utf8(Element(empty->getRootElement())->getText()), "") << "nothing external is read";
}

// Each as it is read, and the same bytes once more when those are loaded.
TEST(Documents, AreWrittenAsTheyAre) {
    if (traits::kIndentsLikeOurs != nullptr) GTEST_SKIP() << traits::kIndentsLikeOurs;
    const char* const same[] = {
        "<a/>\n",
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<a/>\n",
        "<!-- before -->\n<?pi data?>\n<a><!-- in --><?in?>x<b c=\"d\">y</b>z</a>\n<!-- after -->\n",
        "<a b=\"&amp;&lt;&quot;'&#9;&#10;&#13;>\">&amp;&lt;&gt;\"'&#13;]]&gt;</a>\n",
        "<a>x<![CDATA[<&>]]>y<![CDATA[]]></a>\n",
        "<a>\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBC\x81\xED\x9F\xBF</a>\n",
        "<!-- 1 -->\n<!DOCTYPE a [<!-- ' --><?p q?><!ENTITY e '>]'>\n]>\n<?r s?>\n<a b=\"c\">d</a>\n",
        "<a xmlns=\"urn:d\" xmlns:p=\"urn:p\"><p:b p:c=\"\" xml:lang=\"en\"/><d xmlns=\"\"/></a>\n",
    };
    for (const std::string document : same) {
        SCOPED_TRACE(document);
        const unsigned options = V3::kAllowDoctype | V3::kKeepWhiteSpace;
        EXPECT_EQ(written(loaded(document, options)), document);
    }
    EXPECT_EQ(written(loaded("<?xml version='1.0'?>\r\n<a   b = 'c' ></a >")),
              "<?xml version=\"1.0\"?>\n<a b=\"c\"/>\n");
    const Parser edited = loaded("<a><b/>t</a>");
    Element(Element(edited->getRootElement())->getChild(wide("b")))->setText(KelString());
    EXPECT_EQ(written(edited), "<a><b/>t</a>\n") << "an empty text is none";
}

TEST(Documents, AreWrittenInManyEncodings) {
    if (traits::kReadsManyEncodings != nullptr) GTEST_SKIP() << traits::kReadsManyEncodings;
    const char* const document =
        "<a b=\"\xC3\xA9\xE2\x82\xAC\">\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80<![CDATA[\xE2\x82\xAC.]]></a>";
    const Parser parser = loaded(document);
    struct Case {
        const char* encoding;
        std::string content;
    };
    const Case cases[] = {
        {"US-ASCII", "<a b=\"&#233;&#8364;\">&#233;&#8364;&#128512;<![CDATA[]]>&#8364;<![CDATA[.]]></a>\n"},
        {"ISO-8859-1", "<a b=\"\xE9&#8364;\">\xE9&#8364;&#128512;<![CDATA[]]>&#8364;<![CDATA[.]]></a>\n"},
        {"windows-1252", "<a b=\"\xE9\x80\">\xE9\x80&#128512;<![CDATA[\x80.]]></a>\n"},
        {"ISO-8859-15", "<a b=\"\xE9\xA4\">\xE9\xA4&#128512;<![CDATA[\xA4.]]></a>\n"},
        {"UTF-8", std::string(document) + "\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.encoding);
        const std::string bytes = written(parser, 0, c.encoding);
        EXPECT_EQ(bytes,
                  std::string("<?xml version=\"1.0\" encoding=\"") + c.encoding + "\"?>\n" + c.content);
        EXPECT_EQ(written(loaded(bytes)), bytes) << "in the encoding that it declares";
    }
    for (const char* encoding : {"UTF-16", "UTF-16LE", "UTF-16BE", "Shift_JIS", "ISO-2022-JP", "UTF-32"}) {
        SCOPED_TRACE(encoding);
        const std::string bytes = written(parser, 0, encoding);
        const Parser again = loaded(bytes);
        EXPECT_EQ(written(again), bytes);
        KelString all;
        EXPECT_TRUE(again->evaluateText(wide("string(/)"), nullptr, all));
        EXPECT_EQ(utf8(all), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xE2\x82\xAC.");
    }
    EXPECT_EQ(written(parser, V3::kNoDeclaration, "UTF-16").substr(0, 6), std::string("\xFF\xFE<\0a\0", 6));
    // A character that spans two of the buffers in which bytes are converted.
    const std::string longText(200'000, 'x');
    for (std::size_t shift = 0; shift < 4; ++shift) {
        std::string body = longText.substr(0, 65'520 + shift);
        for (int i = 0; i < 20; ++i) body += "\xF0\x9F\x98\x80";
        const Parser large = loaded("<a>" + body + "</a>");
        EXPECT_TRUE(utf8(Element(loaded(written(large, 0, "UTF-16"))->getRootElement())->getText()) == body);
    }
}

TEST(Documents, AreIndentedWhereItChangesNothing) {
    if (traits::kIndentsLikeOurs != nullptr) GTEST_SKIP() << traits::kIndentsLikeOurs;
    const Parser parser = loaded(
        "<r><a><b/><!--c--><d>t</d></a><mixed>t<i><j/></i></mixed><only><!--c--></only><cd><![CDATA[ ]]></cd>"
        "<p xml:space='preserve'><q/><n xml:space='default'><o/></n></p></r>");
    const std::string expected =
        "<r>\n\t<a>\n\t\t<b/>\n\t\t<!--c-->\n\t\t<d>t</d>\n\t</a>\n\t<mixed>t<i><j/></i></mixed>\n"
        "\t<only><!--c--></only>\n\t<cd><![CDATA[ ]]></cd>\n"
        "\t<p xml:space=\"preserve\"><q/><n xml:space=\"default\">\n\t\t\t<o/>\n\t\t</n></p>\n</r>\n";
    EXPECT_EQ(written(parser, V3::kIndent), expected);
    const Parser again = loaded(expected);
    EXPECT_EQ(written(again), written(parser)) << "a reader sees no difference";
    EXPECT_EQ(written(again, V3::kIndent), expected);
    std::string spaces = expected;
    for (std::size_t at = 0; (at = spaces.find('\t', at)) != std::string::npos; at += 3)
        spaces.replace(at, 1, "   ");
    EXPECT_EQ(written(again, V3::indentBlanks(3)), spaces);
    spaces.erase(std::remove_if(spaces.begin(), spaces.end(), [](char c) { return c == ' '; }), spaces.end());
    std::string none = written(again, V3::indentBlanks(0));
    none.erase(std::remove_if(none.begin(), none.end(), [](char c) { return c == ' '; }), none.end());
    EXPECT_EQ(none, spaces);
    std::string deep;
    for (int i = 0; i < 5'000; ++i) deep += "<a>";
    for (int i = 0; i < 5'000; ++i) deep += "</a>";
    EXPECT_LT(written(loaded(deep), V3::kIndent).size(), 1'100'000U) << "indentation is out of proportion";
    const std::string kept = "<r> <a><b/></a></r>\n";
    EXPECT_EQ(written(loaded(kept, V3::kKeepWhiteSpace), V3::kIndent), kept) << "the white space is text";
}

TEST(Documents, AreWrittenAsText) {
    const Parser parser = loaded("<?xml version='1.0' encoding='ISO-8859-1' standalone='yes'?><a>\xE9</a>");
    EXPECT_EQ(text(parser, V3::kNoDeclaration).substr(0, 8), "<a>\xC3\xA9</a");
    if (traits::kIndentsLikeOurs == nullptr) {
        EXPECT_EQ(text(parser), "<?xml version=\"1.0\" standalone=\"yes\"?>\n<a>\xC3\xA9</a>\n");
    }
    EXPECT_TRUE(parser->loadFromString(wide(text(parser))));
}

TEST(Documents, AreRejectedWhereTheyCannotBeWritten) {
    if (traits::kRejectsWrongNames != nullptr) GTEST_SKIP() << traits::kRejectsWrongNames;
    const char* const start = "9 Error while writing XML : ";
    const Parser parser = loaded("<a><!-- \xE2\x82\xAC --><b/></a>");
    const Element root(parser->getRootElement());
    const Element b(root->getChild(wide("b")));
    const auto rejected = [&](const char* encoding, const char* reason) {
        EXPECT_EQ(written(parser, 0, encoding), std::string(start) + reason);
    };
    rejected("US-ASCII",
             "U+20AC cannot be written in US-ASCII here, and a comment cannot contain a reference to it.");
    rejected("x-nope", "The encoding 'x-nope' is not known.");
    rejected("UTF-8//IGNORE", "The encoding 'UTF-8//IGNORE' is not known.");
    EXPECT_EQ(written(parser, V3::kNoDeclaration, "US-ASCII"),
              std::string(start) + "A document in the encoding 'US-ASCII' needs an XML declaration.");
    b->setText(KelString(u"\x1"));
    rejected("", "The text of the element 'b' contains U+0001, which an XML document cannot contain.");
    b->setText(KelString(std::u16string_view(u"\xD800")));
    rejected("", "The text of the element 'b' contains U+D800, which an XML document cannot contain.");
    b->setText(KelString());
    b->setAttribute(wide("k"), KelString(u"\xFFFE"));
    rejected("", "The text of the element 'b' contains U+FFFE, which an XML document cannot contain.");
    b->setAttribute(wide("k"), KelString());
    root->addChild(Element(parser->createElement(wide("p:c"))).get());
    rejected("", "The prefix of 'p:c' is not declared on its element or around it.");
    Element(root->getChild(wide("p:c")))->setAttribute(wide("xmlns:p"), wide("urn:p"));
    EXPECT_TRUE(written(parser).starts_with("<a>"));
    EXPECT_EQ(written(makeParser()), std::string(start) + "The document has no root element");
}

TEST(Documents, NewElementsDeclareTheirNamespace) {
    const Parser parser = loaded("<a/>");
    const Element root(parser->getRootElement());
    const IPtr<IKelDOMXmlElementV2> prefixed(parser->createElementInNamespace(wide("urn:p"), wide("p:b")));
    const IPtr<IKelDOMXmlElementV2> plain(parser->createElementInNamespace(wide("urn:d"), wide("c")));
    KelString uri;
    EXPECT_EQ(utf8(prefixed->getNamespaceUri(uri)), "urn:p");
    root->addChild(prefixed.get());
    root->addChild(plain.get());
    const Parser again = loaded(written(parser));
    IPtr<IKelDOMXmlElementItrV2> children(
        kel::queryInterface<IKelDOMXmlElementV2>(Element(again->getRootElement()).get())
            ->getChildrenNamed(KelString()));
    EXPECT_EQ(utf8(IPtr<IKelDOMXmlElementV2>(children->takeNext())->getNamespaceUri(uri)), "urn:p");
    EXPECT_EQ(utf8(IPtr<IKelDOMXmlElementV2>(children->takeNext())->getNamespaceUri(uri)), "urn:d");
    if (traits::kRejectsWrongNames != nullptr) GTEST_SKIP() << traits::kRejectsWrongNames;
    EXPECT_TRUE(FAILED(statusOf([&] { parser->createElementInNamespace(KelString(), wide("p:x")); })));
}

// A file appears whole, or not at all.
TEST(Documents, ReplaceAFileWhole) {
    const Folder folder;
    const Parser parser = loaded("<new/>");
    const std::string path = folder.write("a.xml", "<old/>");
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    const fs::perms permitted = fs::status(path).permissions();
    EXPECT_TRUE(parser->writeFile(wide(path), 0, KelString())) << errorOf(parser);
    EXPECT_TRUE(folder.read("a.xml").ends_with("<new/>\n")) << folder.read("a.xml");
    EXPECT_EQ(fs::status(path).permissions(), permitted);
    const auto count = [&] {
        return std::distance(fs::directory_iterator(fs::path(path).parent_path()), fs::directory_iterator());
    };
    EXPECT_EQ(count(), 1);
    const std::string before = folder.read("a.xml");
    EXPECT_FALSE(parser->writeFile(wide(path), 0, wide("x-nope")));
    EXPECT_EQ(parser->getError()->getCode(), 9);
    EXPECT_EQ(folder.read("a.xml"), before);
    EXPECT_EQ(count(), 1) << "nothing is left beside it";
    for (const std::string& nowhere :
         {folder.path("no such folder/a.xml"), folder.path("."), std::string()}) {
        EXPECT_FALSE(parser->writeFile(wide(nowhere), 0, KelString())) << nowhere;
        EXPECT_TRUE(errorOf(parser).starts_with("8 Error while writing ")) << errorOf(parser);
    }
}

}  // namespace
