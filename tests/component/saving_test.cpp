#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/ikelstrsupport.h"
#include "framework/object/implements.h"
#include "tests/component/fixture.h"
#include "tests/component/onehost.h"

namespace {

using namespace component_test;

struct Case {
    const char* fault;
    const char* in;
    const char* out;
};

constexpr Case kCases[] = {
    {"an element without content", "<a/>", "<a />\n"},
    {"an element whose content leaves nothing", "<a><!--c--><?p i?></a>", "<a />\n"},
    {"levels of indentation", "<a><b><c/></b><d>t</d></a>",
     "<a>\n\t<b>\n\t\t<c />\n\t</b>\n\t<d>t</d>\n</a>\n"},
    {"whole text in mixed content, and again in the child", "<a>x<b>z</b>y</a>",
     "<a>xzy\n\t<b>z</b>\n</a>\n"},
    {"text only in front of the first text node", "<a><b>z</b>y</a>", "<a>zy\n\t<b>z</b>\n</a>\n"},
    {"CDATA alone is no text node", "<a><![CDATA[x]]></a>", "<a />\n"},
    {"CDATA beside a text node is part of the whole text", "<a>t<![CDATA[<x>]]></a>", "<a>t&lt;x&gt;</a>\n"},
    {"attributes in order, escaped, and declarations", "<p:a b='\"&lt;' c=\"it's\" xmlns:p='u'/>",
     "<p:a b=\"&quot;&lt;\" c=\"it's\" xmlns:p=\"u\" />\n"},
    {"escaping skips a pass", "<a>x &amp; y &lt; z</a>", "<a>x &amp; y < z</a>\n"},
    {"nothing outside the root element", "<?xml version='1.0'?><!--c--><?p i?><a/><!--c-->", "<a />\n"},
};

TEST(Saving, WritesOneElementALine) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.fault);
        EXPECT_EQ(saved(load(c.in)), c.out);
    }
}

TEST(Saving, LooksForTextInTheFirstTextNodeAlone) {
    const DomParser parser = load("<a>x<b/>y</a>");
    rootOf(parser)->setText(KelString());
    EXPECT_EQ(saved(parser), "<a>\n\t<b />\n</a>\n");
}

TEST(Saving, KeepsALeafOfWhiteSpace) {
    if (traits::kKeepsWhiteSpaceOfTexts != nullptr) GTEST_SKIP() << traits::kKeepsWhiteSpaceOfTexts;
    EXPECT_EQ(saved(load("<a> </a>")), "<a> </a>\n");
}

TEST(Saving, KeepsTheOrderOfDeclarationsAndAttributes) {
    if (traits::kKeepsDeclarationsInPlace != nullptr) GTEST_SKIP() << traits::kKeepsDeclarationsInPlace;
    EXPECT_EQ(saved(load("<p:a xmlns:p='u' b='1' xmlns='v' c='2'/>")),
              "<p:a xmlns:p=\"u\" b=\"1\" xmlns=\"v\" c=\"2\" />\n");
}

TEST(Saving, WritesADefaultNamespaceDeclaration) {
    if (traits::kListsDefaultDeclarations != nullptr) GTEST_SKIP() << traits::kListsDefaultDeclarations;
    EXPECT_EQ(saved(load("<a xmlns='u' b='1'><c xmlns=''/></a>")),
              "<a xmlns=\"u\" b=\"1\">\n\t<c xmlns=\"\" />\n</a>\n");
}

TEST(Saving, AppendsToTheString) {
    const DomParser parser = load("<a/>");
    EXPECT_TRUE(parser->addProcessingInstruction(wide("target"), wide("data")));
    KelString out(u"before:");
    EXPECT_TRUE(parser->saveToString(out));
    parser->setRootElement(nullptr);
    EXPECT_EQ(errorOf(parser).front(), '4');
    EXPECT_TRUE(parser->saveToString(out));
    EXPECT_EQ(utf8(out), "before:<a />\n<a />\n");
    EXPECT_EQ(errorOf(parser), "0 ");
}

TEST(Saving, WritesAFileAndReadsTheSameBack) {
    const Folder folder;
    const DomParser parser = load("<a b='1'><c>t %s %n %%</c>" + std::string(2000, 'x') + "<d/></a>");
    (void)folder.write("out.xml", std::string(100000, '?'));
    const KelString path = wide(folder.path("out.xml"));
    EXPECT_TRUE(parser->saveToFile(path));
    EXPECT_EQ(folder.read("out.xml"), saved(parser));
    EXPECT_TRUE(parser->loadFromFile(path));
    EXPECT_TRUE(parser->saveToFile(path));
    EXPECT_EQ(folder.read("out.xml"), saved(parser));
}

// The first children are kept from the look for text to their own turn, however many come after them.
TEST(Saving, WritesFamiliesOfEverySize) {
    std::string family;
    std::string lines;
    std::string texts;
    for (int i = 0; i < 20; ++i) {
        const std::string name = "e" + std::to_string(i);
        family += "<" + name + "><f/><!--c--><g>t</g></" + name + "><?p i?>";
        lines += "\t<" + name + ">\n\t\t<f />\n\t\t<g>t</g>\n\t</" + name + ">\n";
        texts += "t";
        EXPECT_EQ(saved(load("<a>" + family + "</a>")), "<a>\n" + lines + "</a>\n");
        EXPECT_EQ(saved(load("<a>" + family + "x</a>")), "<a>" + texts + "x\n" + lines + "</a>\n");
    }
}

// Pieces of text are copied and narrowed in blocks.
TEST(Saving, WritesTextsOfEveryLength) {
    const Folder folder;
    const KelString path = wide(folder.path("out.xml"));
    for (std::size_t length = 1; length < 140; ++length) {
        const std::string text(length, 'x');
        const std::string line = "<" + text + " a=\"" + text + "\">" + text;
        const DomParser parser = load(line + "\xC3\xA9</" + text + ">");
        ASSERT_EQ(saved(parser), line + "\xC3\xA9</" + text + ">\n");
        ASSERT_TRUE(parser->saveToFile(path));
        ASSERT_EQ(folder.read("out.xml"), line + "</" + text + ">\n");
        const std::string foreign = "<" + text + "\xC3\xA9 " + text + "\xC3\xA9=\"\" />\n";
        ASSERT_EQ(saved(load(foreign)), foreign);
    }
    const std::string huge(200'000, 'y');
    EXPECT_EQ(saved(load("<a b='" + huge + "'>" + huge + "<c/></a>")),
              "<a b=\"" + huge + "\">" + huge + "\n\t<c />\n</a>\n");
}

TEST(Saving, DropsWhatIsNotAsciiWithoutStringSupport) {
    const Folder folder;
    const DomParser parser = load("<a>\xC3\xA9t\xC3\xA9</a>");
    EXPECT_TRUE(parser->saveToFile(wide(folder.path("out.xml"))));
    EXPECT_EQ(folder.read("out.xml"), "<a>t</a>\n");
    EXPECT_EQ(saved(parser), "<a>\xC3\xA9t\xC3\xA9</a>\n");
}

TEST(Saving, ToAFileThatCannotBeWrittenLeavesTheCodeAtZero) {
    const Folder folder;
    const DomParser parser = load("<a/>");
    parser->setRootElement(nullptr);
    const std::string path = folder.path("missing/out.xml");
    EXPECT_FALSE(parser->saveToFile(wide(path)));
    EXPECT_EQ(errorOf(parser), "0 Error while writing to XML file " + path +
                                   "  : The file doesn't exist or you don't have write rights to it");
    EXPECT_FALSE(parser->saveToFile(KelString()));
    EXPECT_EQ(parser->getError()->getCode(), 0);
}

// What a full disk does, without one: the file is open for reading only.
TEST(Saving, DoesNotReportAFailingWrite) {
    const Folder folder;
    const DomParser parser = load("<a>t</a>");
    const std::string path = folder.path("in.xml");
    ASSERT_TRUE(parser->saveToFile(wide(path)));
    std::FILE* const file = std::fopen(path.c_str(), "r");
    ASSERT_NE(file, nullptr);
    KelString scratch;
    const IPtr<IKelDOMXmlElement> root(parser->getRootElement());
    EXPECT_TRUE(root->write(file, scratch, KelString(), KelString(u"\t"), false));
    EXPECT_TRUE(scratch.isEmpty());
    EXPECT_NE(std::ferror(file), 0);
    std::fclose(file);
}

TEST(Saving, ToAStreamIsNotOffered) {
    const Folder folder;
    const DomParser parser = load("<a/>");
    parser->setRootElement(nullptr);
    BinOutputFile stream(wide(folder.path("out.bin")));
    EXPECT_FALSE(parser->saveToStream(stream));
    EXPECT_EQ(stream.tell(), 0);
    EXPECT_EQ(errorOf(parser), "4 Invalid Element Type");
}

// How many files this process has open; negative where the system does not show it.
std::ptrdiff_t openFiles() {
    if (std::filesystem::path::preferred_separator != '/') return -1;
    std::error_code unknown;
    const std::filesystem::directory_iterator files("/proc/self/fd", unknown);
    return unknown ? -1 : std::distance(begin(files), end(files));
}

// The file is truncated and stays open, the root element's handle stays alive: both by contract.
TEST(Saving, OfNoRootElementRaises) {
    const Folder folder;
    const DomParser parser = makeDom();
    KelString out(u"kept");
    EXPECT_EQ(statusOf([&] { parser->saveToString(out); }), E_POINTER);
    EXPECT_EQ(utf8(out), "kept");
    (void)folder.write("out.xml", "earlier");
    const std::ptrdiff_t open = openFiles();
    EXPECT_EQ(statusOf([&] { parser->saveToFile(wide(folder.path("out.xml"))); }), E_POINTER);
    EXPECT_EQ(folder.read("out.xml"), "");
    EXPECT_EQ(openFiles(), open < 0 ? open : open + 1);
    EXPECT_EQ(errorOf(parser), "0 ");
    RecordProperty("kept", 1);  // the root element's handle
}

// The writer itself.

struct File {
    std::FILE* file = std::tmpfile();
    ~File() { std::fclose(file); }

    [[nodiscard]] std::string content() const {
        std::rewind(file);
        std::string bytes(1 << 16, '\0');
        bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
        return bytes;
    }
};

TEST(Writer, WidensAndIndentsAsAsked) {
    const Element root = rootOf(load("<a>\xC3\xA9<b/></a>"));
    const KelString indent(u"..");
    const KelString unit(u"--");
    const std::u16string expected = u"..<a>\u00E9\r\n..--<b />\r\n..</a>\r\n";
    KelString out;
    EXPECT_TRUE(root->write(nullptr, out, indent, unit, true));
    EXPECT_EQ(out.view(), expected);
    const File file;
    KelString scratch(u"first");
    EXPECT_TRUE(root->write(file.file, scratch, indent, unit, true));
    EXPECT_EQ(utf8(scratch), "");
    const std::u16string all = u"first" + expected;
    EXPECT_EQ(file.content(),
              std::string(reinterpret_cast<const char*>(all.data()), all.size() * sizeof(char16_t)));
}

// Notes the pieces in which the writer asks for 8-bit text.
class PieceRecorder final : public kel::Implements<PieceRecorder, IKelStrSupport> {
public:
    static constexpr const char* kClassName = "PieceRecorder";

    std::string& toNarrow(const char16_t* text, std::string& result) override {
        result = kel::toUtf8(text);
        pieces.push_back(result);
        return result;
    }
    std::int32_t compare(const char16_t* a, const char16_t* b) override {
        return std::u16string_view(a).compare(b);
    }
    bool isSpace(char16_t) override { return false; }
    bool isDigit(char16_t) override { return false; }
    void normalise(KelString&) override {}
    void toLower(KelString&) override {}
    void toUpper(KelString&) override {}

    std::vector<std::string> pieces;
};

TEST(Writer, HandsPiecesOfMoreThan512UnitsToTheFileAtElementEnds) {
    PieceRecorder support;
    OneServiceHost host("IKelStrSupport", &support);
    {
        // 512 units gathered stay, 513 go.
        const std::string first = "<a>\n<b>" + std::string(499, 'x') + "\xC3\xA9</b>\n";
        const std::string second = "<d>" + std::string(505, 'y') + "</d>\n";
        const Element root = rootOf(load(first + "<c/>" + second + "<e><f/></e></a>"));
        const File file;
        KelString out;
        EXPECT_TRUE(root->write(file.file, out, KelString(), KelString(), false));
        ASSERT_EQ(support.pieces.size(), 3u);
        EXPECT_EQ(support.pieces[0], first + "<c />\n");
        EXPECT_EQ(support.pieces[1], second);
        EXPECT_EQ(support.pieces[2], "<e>\n<f />\n</e>\n</a>\n");
        EXPECT_EQ(file.content(), support.pieces[0] + support.pieces[1] + support.pieces[2]);
    }
}

// A chain of elements built through the interfaces, deeper than any stack would bear.
Element chain(const DomParser& parser, int depth) {
    const Element root(parser->createElement(wide("e")));
    Element deepest(root);
    for (int i = 1; i < depth; ++i) {
        const Element child(parser->createElement(wide("e")));
        deepest->addChild(child.get());
        deepest = child;
    }
    parser->setRootElement(root.get());
    return root;
}

TEST(Writer, UsesNoStackForDepth) {
    if (traits::kBearsDepth != nullptr) GTEST_SKIP() << traits::kBearsDepth;
    {
        const DomParser parser = makeDom();
        const Element root = chain(parser, 10000);
        KelString out;
        EXPECT_TRUE(parser->saveToString(out));
        // Each level but the deepest has two lines with as many tabs as its depth; the deepest one line.
        EXPECT_EQ(out.length(), std::size_t{9999} * 9998 + 9999 + 9999 * (4 + 5) + 6);
    }
    const DomParser parser = makeDom();
    const Element root = chain(parser, 100000);
    KelString out;
    EXPECT_TRUE(root->write(nullptr, out, KelString(), KelString(), false));
    EXPECT_EQ(out.length(), std::size_t{99999} * (4 + 5) + 6);
}

}  // namespace
