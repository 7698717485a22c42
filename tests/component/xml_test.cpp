// The header for C++ programs, msxml_parser/xml.h, as a program uses it.
#include "msxml_parser/xml.h"

#include <algorithm>
#include <array>
#include <functional>
#include <ranges>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "msxml_parser/detail/engineclasses.h"
#include "tests/component/fixture.h"
#include "tests/component/platform/classes.h"

namespace {

namespace xml = msxml_parser;
using component_test::Folder;
using xml::ErrorCode;
namespace traits = component_test::traits;

static_assert(std::ranges::input_range<xml::ElementRange>);
static_assert(std::ranges::input_range<xml::AttributeRange>);
static_assert(!std::is_copy_constructible_v<xml::Document>, "a copy would be the same document");
static_assert(std::is_nothrow_copy_constructible_v<xml::Exception>);

xml::Document loaded(std::string_view bytes, const xml::LoadOptions& options = {}) {
    xml::Document document;
    document.loadBytes(bytes, options);
    return document;
}
std::string written(const xml::Document& document) {
    return document.toBytes({.declaration = false});
}
std::string names(xml::ElementRange range) {
    std::string all;
    for (const xml::Element element : range) all += element.name();
    return all;
}
// The error that the operations throw, which must be an Exception and nothing else.
template <class Operations>
xml::Error errorOf(Operations&& operations) {
    try {
        operations();
    } catch (const std::runtime_error& error) {
        const auto* const ours = dynamic_cast<const xml::Exception*>(&error);
        EXPECT_NE(ours, nullptr) << error.what();
        return ours != nullptr ? ours->error() : xml::Error();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}
template <class Operations>
ErrorCode codeOf(Operations&& operations) {
    return errorOf(operations).code;
}

// --- Lifetimes ---------------------------------------------------------------------------------------------

TEST(Xml, ElementsOutliveTheirRangeAndTheirDocument) {
    std::vector<xml::Element> kept;
    {
        xml::Document document = loaded("<r><a n='1'/><b/><a n='2'><c>t</c></a></r>");
        for (const xml::Element element : document.root().children()) kept.push_back(element);
        for (const xml::Element element : document.select("//a")) kept.push_back(element);
        document.loadBytes("<other/>");
        EXPECT_EQ(written(document), "<other/>\n");
    }
    std::string all;
    for (const xml::Element& element : kept)
        all += element.name() + element.attribute("n").value_or("-") + ' ';
    EXPECT_EQ(all, "a1 b- a2 a1 a2 ") << "each stands on its own element";
    EXPECT_EQ(kept[2].child("c")->parent()->parent()->name(), "r");
    kept[0].setAttribute("n", "9");
    EXPECT_EQ(kept[3].attribute("n"), "9") << "two handles on one element";
}

TEST(Xml, ElementsMayBeRemovedOnTheWay) {
    xml::Document document = loaded("<r><a/><b/><a/><a/><c/></r>");
    std::vector<xml::Element> removed;
    const xml::ElementRange range = document.root().children("a");
    for (xml::Element element : range) {
        element.remove();
        removed.push_back(element);
    }
    EXPECT_EQ(names(document.root().children()), "bc");
    EXPECT_EQ(removed.size(), 3U);
    EXPECT_EQ(removed[1].parent(), std::nullopt);
    for (const xml::Element& element : removed) document.root().append(element);
    EXPECT_EQ(std::ranges::distance(range), 3) << "a range can be walked again";
    for (xml::Element element : document.select("//*[not(*)]")) element.remove();
    EXPECT_EQ(written(document), "<r/>\n");
    EXPECT_EQ(names(document.root().children("a")), "");
    document.root().remove();
    EXPECT_TRUE(document.isEmpty());
    if (traits::kForgetsParents != nullptr) GTEST_SKIP() << traits::kForgetsParents;
    document.setRoot(removed[0]);
    EXPECT_EQ(document.root().name(), "a");
}

TEST(Xml, WhatWasMovedFromIsRejectedUntilItIsAssigned) {
    xml::Document document = loaded("<a b='c'/>");
    xml::Element element = document.root();
    xml::Schema schema;
    xml::StyleSheet sheet;
    xml::Reader reader;
    xml::ElementRange range = element.children();
    const xml::Document other = std::move(document);
    const xml::Element moved = std::move(element);
    const xml::Schema otherSchema = std::move(schema);
    const xml::StyleSheet otherSheet = std::move(sheet);
    const xml::Reader otherReader = std::move(reader);
    const xml::ElementRange otherRange = std::move(range);
    EXPECT_EQ(names(range), "");
    const std::function<void()> uses[] = {
        [&] { document.loadBytes("<a/>"); },
        [&] { (void)document.root(); },
        [&] { (void)document.toBytes(); },
        [&] { (void)document.select("a"); },
        [&] { (void)element.name(); },
        [&] { (void)element.attributes(); },
        [&] { other.root().append(element); },
        [&] { schema.addFile("a.xsd"); },
        [&] { (void)otherSchema.validate(document); },
        [&] { sheet.onMessage({}); },
        [&] { (void)sheet.transform(other); },
        [&] { reader.readBytes("<a/>", xml::Events()); },
    };
    for (std::size_t i = 0; i < std::size(uses); ++i) EXPECT_EQ(codeOf(uses[i]), ErrorCode::NoElement) << i;
    EXPECT_EQ(moved.attribute("b"), "c");
    document = loaded("<again/>");
    element = document.root();
    EXPECT_EQ(element.name(), "again");
    sheet = xml::StyleSheet();
    sheet.onWarning({});
}

// --- Texts -------------------------------------------------------------------------------------------------

struct Sample {
    const char* utf8;
    std::u16string_view utf16;
};
constexpr Sample kSamples[] = {
    {"a", u"a"},
    {"\x7F", u"\x7F"},
    {"\xC2\x80", u"\x80"},
    {"\xDF\xBF", u"\x7FF"},
    {"\xE0\xA0\x80", u"\x800"},
    {"\xED\x9F\xBF", u"\xD7FF"},
    {"\xEE\x80\x80", u"\xE000"},
    {"\xF0\x90\x80\x80", u"\xD800\xDC00"},
    {"\xF4\x8F\xBF\xBD", u"\xDBFF\xDFFD"},
    // Surrogates without a partner: alone, at the end, and the wrong way round.
    {"\xED\xA0\x80", u"\xD800"},
    {"\xED\xBF\xBF", u"\xDFFF"},
    {"\xED\xB0\x80\xED\xA0\x80", u"\xDC00\xD800"},
    {"\xED\xA0\x80\xF0\x90\x80\x80", u"\xD800\xD800\xDC00"},
};

// Whatever goes in, in either form and on either side of other text, is what comes out in both.
TEST(Xml, TextsComeBackInBothForms) {
    if (traits::kSetsTextsAsTheyAre != nullptr) GTEST_SKIP() << traits::kSetsTextsAsTheyAre;
    const xml::Document document = loaded("<a/>");
    xml::Element root = document.root();
    xml::Utf8Buffer bytes;
    xml::Buffer units;
    for (const Sample& sample : kSamples) {
        for (const std::size_t before : {0U, 1U, 3000U}) {
            for (const std::size_t after : {0U, 1U}) {
                const std::string utf8 = std::string(before, 'x') + sample.utf8 + std::string(after, 'y');
                const std::u16string utf16 =
                    std::u16string(before, u'x').append(sample.utf16) + std::u16string(after, u'y');
                SCOPED_TRACE(utf8);
                root.setText(utf8);
                root.setAttribute("k", utf16);
                EXPECT_TRUE(root.text(units) == utf16);
                EXPECT_TRUE(root.attribute("k", units) == utf16);
                EXPECT_EQ(root.ownText(), utf8);
                EXPECT_EQ(root.attribute("k", bytes), utf8);
            }
        }
    }
}

TEST(Xml, TextThatIsNoneIsRejectedWhereItIsWrong) {
    using namespace std::string_view_literals;
    struct Case {
        std::string_view bytes;
        int position;
    };
    constexpr Case kCases[] = {
        {"\xFF", 1},
        {"ab\xC3", 3},
        {"\xC3(", 1},
        {"a\xC0\xAF", 2},
        {"\xE0\x9F\xBF", 1},
        {"\xF0\x8F\xBF\xBF", 1},
        {"\x80", 1},
        {"\xF4\x90\x80\x80", 1},
        {"\xC3\xA9\xE2\x82", 3},
        {"\xF8\x88\x80\x80\x80", 1},
        {"a\0b"sv, 2},
        {"\xC3\xA9\0"sv, 3},
    };
    xml::Document document = loaded("<a k='v'>t</a>");
    xml::Element root = document.root();
    for (const Case& c : kCases) {
        SCOPED_TRACE(std::string(c.bytes));
        const xml::Error error = errorOf([&] { root.setText(c.bytes); });
        EXPECT_EQ(error.code, ErrorCode::InvalidArgument);
        EXPECT_EQ(error.column, c.position);
        EXPECT_EQ(codeOf([&] { root.setAttribute("k", c.bytes); }), ErrorCode::InvalidArgument);
        EXPECT_EQ(codeOf([&] { root.setAttribute(c.bytes, "v"); }), ErrorCode::InvalidArgument);
        EXPECT_FALSE(document.tryLoadFile(c.bytes));
        EXPECT_FALSE(document.trySelect(c.bytes));
    }
    EXPECT_EQ(errorOf([&] { root.setText(u"ab\0c"sv); }).column, 3);
    EXPECT_EQ(errorOf([&] { document.loadText(u"<a/>\0<"sv); }).column, 5);
    EXPECT_EQ(written(document), "<a k=\"v\">t</a>\n") << "nothing changed";
}

TEST(Xml, AbsentIsNotEmpty) {
    const xml::Document document = loaded("<a empty=''><b/></a>");
    const xml::Element root = document.root();
    xml::Utf8Buffer bytes;
    xml::Buffer units;
    EXPECT_EQ(root.attribute("empty"), "");
    EXPECT_EQ(root.attribute("empty", bytes), "");
    EXPECT_EQ(root.attribute(u"empty", units), u"");
    EXPECT_EQ(root.attribute("none"), std::nullopt);
    EXPECT_EQ(root.attribute("none", bytes), std::nullopt);
    EXPECT_EQ(root.attribute("none", units), std::nullopt);
    EXPECT_TRUE(root.hasAttribute("empty"));
    EXPECT_FALSE(root.child("none"));
    EXPECT_FALSE(root.parent());
    EXPECT_FALSE(document.selectFirst("//none"));
    EXPECT_FALSE(document.createElement("n").position());
    EXPECT_TRUE(xml::Document().isEmpty());
    if (traits::kKnowsItsDocuments != nullptr) GTEST_SKIP() << traits::kKnowsItsDocuments;
    EXPECT_EQ(document.selectFirst("*", root)->name(), "b");
}

// "line:column", as an editor shows the last place in `text`; "-" for none.
std::string placeAfter(std::string_view text) {
    const auto isCharacter = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    const std::string_view line = text.substr(text.rfind('\n') + 1);
    return std::to_string(1 + std::ranges::count(text, '\n')) + ':' +
           std::to_string(1 + std::ranges::count_if(line, isCharacter));
}
std::string placeOf(const xml::Element& element) {
    const std::optional<xml::Position> found = element.position();
    return found ? std::to_string(found->line) + ':' + std::to_string(found->column) : "-";
}
std::string utf16Of(std::string_view utf8) {
    const std::u16string units = u"\uFEFF" + std::u16string(kel::fromUtf8(utf8));
    return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t)};
}

// All kinds of start tags among all that may be taken for one, in numbers that do not divide each other.
struct Placed {
    std::string text;
    std::vector<std::string> places;  // of the root's children
};
Placed placedElements(std::string text) {
    constexpr std::array kBetween{
        "",      "t&lt;e&gt;'\"", "<!-- <e/> ' - -->", "<![CDATA[<e/>]] >]]>", "<?p <e/> ?>",
        "\n\n ", "\xC3\xA9>"};
    constexpr std::array kTags{"<e/>", "<e a='1'/>", "<e a = '>&lt;e/>&#10;' b=\"'\"/>", "<e xmlns:p='u'/>",
                               "<p:e\n\txmlns:p='u' a='\n'></p:e >"};
    Placed made;
    for (std::size_t i = 0; i < 20 * kBetween.size() * kTags.size(); ++i) {
        text += kBetween[i % kBetween.size()];
        made.places.push_back(placeAfter(text));
        text += kTags[i % kTags.size()];
    }
    made.text = text + "</r>";
    return made;
}

TEST(Xml, ElementsKnowWhereTheirStartTagsStood) {
    if (traits::kKeepsPositions != nullptr) GTEST_SKIP() << traits::kKeepsPositions;
    const Placed plain = placedElements("<r>");
    const Placed declared = placedElements("<!DOCTYPE r [<!ENTITY e '<r/>'><!-- <e/> -->]>\n<r>");
    for (const auto& [bytes, expected] :
         {std::pair(plain.text, &plain.places), std::pair(utf16Of(plain.text), &plain.places),
          std::pair(declared.text, &declared.places)}) {
        const xml::Document document = loaded(bytes, {.allowDoctype = true});
        std::vector<std::string> places;
        for (const xml::Element child : document.root().children()) places.push_back(placeOf(child));
        EXPECT_EQ(places, *expected);
    }
}

// What an entity holds has the place of the reference.
TEST(Xml, ElementsOfEntitiesStandWhereTheReferenceStood) {
    if (traits::kKeepsPositions != nullptr) GTEST_SKIP() << traits::kKeepsPositions;
    const xml::Document document =
        loaded("<!DOCTYPE r [<!ENTITY e '<b/><b/>'>]>\n<r><a/>&e;<a/>&e;\n<a/></r>", {.allowDoctype = true});
    std::string places;
    for (const xml::Element child : document.root().children()) places += child.name() + placeOf(child) + ' ';
    EXPECT_EQ(places, "a2:4 b2:8 b2:11 a2:11 b2:15 b2:18 a3:1 ");
}

TEST(Xml, PlacesOutliveEditsButAreNotInherited) {
    if (traits::kKeepsPositions != nullptr) GTEST_SKIP() << traits::kKeepsPositions;
    const Placed placed = placedElements("<r>");
    const xml::Document document = loaded(placed.text);
    xml::Element root = document.root();
    std::vector<xml::Element> children = root.children().toVector();
    std::vector<std::string> expected = placed.places;
    for (std::size_t i = 0; i < children.size(); ++i) {
        if (i % 2 == 0) children[i].removeAttribute("a");
        if (i % 3 == 0) children[i].setAttribute("z", std::string(i % 50, 'z'));
        if (i % 4 == 0) children[i].setAttribute("b", "<e/>");
        if (i % 7 == 0) {
            EXPECT_EQ(placeOf(children[i].clone()), "-");
        }
    }
    // Those that go leave their ids to new ones.
    for (std::size_t i = children.size(); i-- != 0;) {
        if (i % 5 != 1) continue;
        children[i].remove();
        children.erase(children.begin() + static_cast<std::ptrdiff_t>(i));
        expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(i));
    }
    for (int i = 0; i < 5000; ++i) {
        xml::Element made = document.createElement("n");
        if (i % 10 != 0) continue;
        made.setAttribute("a", "1");
        root.append(made);
        children.push_back(made);
        expected.emplace_back("-");
    }
    std::vector<std::string> places;
    for (const xml::Element& child : children) places.push_back(placeOf(child));
    EXPECT_EQ(places, expected);
}

TEST(Xml, AttributesAreListed) {
    const xml::Document document = loaded("<a one='1' two='2' three='3'/>");
    xml::Element root = document.root();
    std::string all;
    std::optional<xml::Attribute> last;
    for (const xml::Attribute& attribute : root.attributes()) {
        all += attribute.name() + attribute.value();
        last = attribute;
    }
    EXPECT_EQ(all, "one1two2three3");
    EXPECT_TRUE(root.removeAttribute("one"));
    EXPECT_FALSE(root.removeAttribute("one"));
    EXPECT_EQ(root.attributes().size(), 2U);
    EXPECT_EQ(codeOf([&] { (void)last->value(); }), ErrorCode::NoElement) << "its position is gone";
}

TEST(Xml, EditsElements) {
    if (traits::kRejectsStrangeNeighbours != nullptr) GTEST_SKIP() << traits::kRejectsStrangeNeighbours;
    xml::Document document = loaded("<r><a/><b>x<![CDATA[<]]><i>y</i></b></r>");
    xml::Element root = document.root();
    const xml::Element b = *root.child("b");
    EXPECT_EQ(b.text(), "x<y");
    EXPECT_EQ(b.ownText(), "x");
    root.insertBefore(document.createElement("urn:p", "p:n"), *root.child("a"));
    EXPECT_EQ(
        root.child("p:n")->namespaceUri() + root.child("p:n")->prefix() + root.child("p:n")->localName(),
        "urn:ppn");
    root.append(*root.child("a"));
    root.replaceChild(document.createElement("c"), b);
    root.append(b.clone());
    EXPECT_EQ(written(document), "<r><p:n xmlns:p=\"urn:p\"/><c/><a/><b>x<![CDATA[<]]><i>y</i></b></r>\n");
    const std::string before = written(document);
    EXPECT_EQ(codeOf([&] { root.insertBefore(root.clone(), b); }), ErrorCode::InvalidArgument);
    if (traits::kRejectsCycles == nullptr && traits::kRejectsWrongNames == nullptr &&
        traits::kRejectsSecondRoot == nullptr) {
        EXPECT_EQ(codeOf([&] { root.child("b")->append(root); }), ErrorCode::Rejected);
        (void)errorOf([&] { (void)document.createElement("1"); });
        EXPECT_EQ(codeOf([&] { document.setRoot(document.createElement("s")); }), ErrorCode::Rejected);
        (void)errorOf([&] { root.setAttribute("a b", "c"); });
    }
    EXPECT_EQ(written(document), before) << "nothing changed";
}

// --- Errors ------------------------------------------------------------------------------------------------

// The same in both forms; what leaves is never the component's own exception.
TEST(Xml, ErrorsAreTheSameInBothForms) {
    const Folder folder;
    const std::string bad = folder.write("bad.xml", "<a>\n <b></c></a>");
    const std::string none = folder.path("none.xml");
    xml::Document document;
    const xml::Document whole = loaded("<a>t</a>");
    xml::Schema schema;
    xml::StyleSheet sheet;
    xml::Reader reader;
    struct Case {
        const char* what;
        std::function<void()> throwing;
        std::function<xml::Error()> returning;
        ErrorCode code;
        std::string file;
        int line;
    };
    const int line = traits::kKeepsPositions == nullptr ? 2 : -1;
    const Case cases[] = {
        {"a malformed file", [&] { document.loadFile(bad); },
         [&] { return document.tryLoadFile(bad).error(); }, ErrorCode::BadDocument, bad, line},
        {"malformed bytes", [&] { document.loadBytes("<a>\n</b>"); },
         [&] { return document.tryLoadBytes("<a>\n</b>").error(); }, ErrorCode::BadDocument, "", line},
        {"malformed text", [&] { document.loadText(u"<a>\n</b>"); },
         [&] { return document.tryLoadText(u"<a>\n</b>").error(); }, ErrorCode::BadDocument, "", line},
        {"no file", [&] { document.loadFile(none); }, [&] { return document.tryLoadFile(none).error(); },
         ErrorCode::NotReadable, none, 0},
        {"no folder to write to", [&] { whole.saveFile(none + "/a"); },
         [&] { return whole.trySaveFile(none + "/a").error(); }, ErrorCode::NotWritable, none + "/a", 0},
        {"an empty document", [&] { (void)xml::Document().toBytes(); },
         [&] { return xml::Document().tryToBytes().error(); }, ErrorCode::NotWritten, "", 0},
        {"no schema file", [&] { schema.addFile(none); }, [&] { return schema.tryAddFile(none).error(); },
         ErrorCode::NotReadable, none, 0},
        {"no schema", [&] { (void)schema.validate(whole); },
         [&] { return schema.tryValidate(whole).error(); }, ErrorCode::NotCompiled, "", 0},
        {"a malformed style sheet", [&] { sheet.compileFile(bad); },
         [&] { return sheet.tryCompileFile(bad).error(); }, ErrorCode::BadDocument, bad, line},
        {"no style sheet", [&] { (void)sheet.transform(whole); },
         [&] { return sheet.tryTransform(whole).error(); }, ErrorCode::NotCompiled, "", 0},
        {"a malformed file, read", [&] { reader.readFile(bad, xml::Events()); },
         [&] { return reader.tryReadFile(bad, {}).error(); }, ErrorCode::BadDocument, bad, line},
        {"no root element", [&] { (void)xml::Document().root(); },
         [] { return xml::attempt([] { (void)xml::Document().root(); }).error(); }, ErrorCode::NoElement, "",
         0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        if (c.code == ErrorCode::BadDocument && traits::kSaysWhatIsMalformed != nullptr) continue;
        const xml::Error thrown = errorOf(c.throwing);
        const xml::Error returned = c.returning();
        EXPECT_EQ(static_cast<int>(thrown.code), static_cast<int>(c.code));
        EXPECT_EQ(thrown.file, c.file);
        EXPECT_FALSE(thrown.message.empty());
        if (c.line >= 0) {
            EXPECT_EQ(thrown.line, c.line);
            EXPECT_EQ(thrown.column > 0, c.line > 0);
        }
        EXPECT_EQ(returned.code, thrown.code);
        EXPECT_EQ(returned.message, thrown.message);
        EXPECT_EQ(returned.file + returned.path + returned.reason, thrown.file + thrown.path + thrown.reason);
        EXPECT_EQ(returned.line, thrown.line);
        EXPECT_EQ(returned.column, thrown.column);
    }
    EXPECT_TRUE(document.isEmpty());
    EXPECT_TRUE(document.tryLoadFile(folder.write("good.xml", "<a/>")));
}

TEST(Xml, ExpressionsHaveValuesAndPositionedErrors) {
    xml::Document document = loaded("<a xmlns='urn:a'><b n='1'/><b n='2'>t</b></a>");
    document.setPrefix("p", "urn:a");
    EXPECT_EQ(document.evaluateNumber("sum(//p:b/@n)"), 3);
    EXPECT_EQ(document.evaluateText("//p:b[2]"), "t");
    if (traits::kKnowsItsDocuments != nullptr) GTEST_SKIP() << traits::kKnowsItsDocuments;
    EXPECT_TRUE(document.evaluateTruth("@n = 2", document.select("//p:b").toVector().at(1)));
    EXPECT_EQ(document.selectValues("//p:b/@n").size(), document.select("//p:b[@n]").toVector().size());
    EXPECT_EQ(document.selectValues("@n", document.select("//p:b").toVector().at(1)),
              std::vector<std::string>{"2"});
    if (traits::kRejectsExpressions != nullptr) GTEST_SKIP() << traits::kRejectsExpressions;
    for (const auto& wrong : {document.trySelect("//p:b[").error(), document.trySelectFirst("//p:b[").error(),
                              errorOf([&] { (void)document.evaluateText("//p:b["); })}) {
        EXPECT_EQ(wrong.code, ErrorCode::BadExpression);
        EXPECT_EQ(wrong.line, 0);
        if (traits::kKeepsPositions == nullptr) {
            EXPECT_EQ(wrong.column, 7);
        }
    }
    EXPECT_EQ(document.trySelect("//@n").error().code, ErrorCode::NotElements);
    EXPECT_EQ(codeOf([&] { (void)document.selectValues("1"); }), ErrorCode::BadExpression);
    EXPECT_EQ(codeOf([&] { document.setPrefix("xml", "urn:x"); }), ErrorCode::InvalidArgument);
    const xml::Document other = loaded("<o/>");
    EXPECT_EQ(codeOf([&] { (void)document.select("*", other.root()); }), ErrorCode::InvalidArgument);
}

TEST(Xml, NoMemoryIsBadAllocOrAnError) {
    const auto failing = [] { xml::detail::raise(_com_error(E_OUTOFMEMORY)); };
    EXPECT_THROW(failing(), std::bad_alloc);
    EXPECT_EQ(xml::attempt(failing).error().code, ErrorCode::OutOfMemory);
    EXPECT_EQ(xml::attempt([]() -> int { throw std::bad_alloc(); }).error().code, ErrorCode::OutOfMemory);
    const auto none = xml::attempt([] { return 7; });
    EXPECT_EQ(none.error().code, ErrorCode::None);
    auto absent = xml::attempt([]() -> int { xml::detail::raise(_com_error(E_FAIL)); });
    EXPECT_EQ(codeOf([&] { (void)absent.value(); }), ErrorCode::Rejected);
    EXPECT_EQ(absent.error().status, static_cast<std::int32_t>(E_FAIL));
    const component_test::FailingClass classFails(msxml::kDocumentClass);
    EXPECT_EQ(codeOf([] { xml::Document().loadBytes("<a/>"); }), ErrorCode::NoEngine);
    EXPECT_EQ(codeOf([] { xml::Document(nullptr).loadBytes("<a/>"); }), ErrorCode::NoEngine);
}

// A stream that gives or takes so much and then fails, or throws.
class FailingBuffer final : public std::streambuf {
public:
    explicit FailingBuffer(std::string bytes) : bytes_(std::move(bytes)) {
        setg(bytes_.data(), bytes_.data(), bytes_.data() + bytes_.size());
    }

protected:
    int_type underflow() override { throw std::range_error("the cable is out"); }
    int_type overflow(int_type /*unit*/) override { throw std::range_error("the cable is out"); }

private:
    std::string bytes_;
};

TEST(Xml, StreamsCarryDocumentsAndTheirFailures) {
    xml::Document document;
    std::istringstream in("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>");
    document.loadStream(in);
    EXPECT_EQ(document.root().text(), "\xC3\xA9");
    std::ostringstream out;
    document.saveStream(out, {.encoding = "UTF-8"});
    EXPECT_EQ(out.str(), document.toBytes({.encoding = "UTF-8"}));
    EXPECT_TRUE(document.toText({.declaration = false}).starts_with(u"<a>\xE9</a>"));

    if (traits::kSaysWhatIsMalformed != nullptr) GTEST_SKIP() << traits::kSaysWhatIsMalformed;
    FailingBuffer broken("<a>");
    std::istream fails(&broken);  // sets badbit
    EXPECT_EQ(document.tryLoadStream(fails).error().code, ErrorCode::NotReadable);
    FailingBuffer brokenToo("<a>");
    std::istream throws(&brokenToo);
    throws.exceptions(std::ios::badbit);
    EXPECT_THROW(document.loadStream(throws), std::range_error);
    std::ostream throwsToo(&brokenToo);
    throwsToo.exceptions(std::ios::badbit);
    EXPECT_THROW(loaded("<a/>").saveStream(throwsToo), std::range_error);
    std::ostream closed(nullptr);
    EXPECT_EQ(loaded("<a/>").trySaveStream(closed).error().code, ErrorCode::NotWritten);
}

// --- Schemas, style sheets, events -------------------------------------------------------------------------

constexpr const char* kListSchema =
    "<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema'><s:element name='list'><s:complexType><s:sequence>"
    "<s:element name='item' type='s:integer' maxOccurs='9'/></s:sequence></s:complexType></s:element>"
    "</s:schema>";

std::string tooDeep() {
    std::string text;
    for (int i = 0; i <= IKelSAXXmlV3::kMaxDepth; ++i) text += "<a>";
    return text;
}

TEST(Xml, SchemasFindEveryViolation) {
    const Folder folder;
    xml::Schema schema;
    schema.addFile(folder.write("list.xsd", kListSchema));
    EXPECT_TRUE(schema.validate(loaded("<list><item>1</item></list>")).empty());
    if (traits::kFindsAllViolations != nullptr) GTEST_SKIP() << traits::kFindsAllViolations;
    const std::string wrong = "<list>\n<item>x</item>\n<item>2</item><item>y</item></list>";
    const auto inTree = schema.validate(loaded(wrong));
    const auto inFile = schema.validateFile(folder.write("list.xml", wrong));
    std::istringstream stream(wrong);
    const auto inStream = schema.validateStream(stream);
    ASSERT_EQ(inTree.size(), 2U);
    for (const auto& found : {inFile, inStream, schema.validateBytes(wrong)}) {
        ASSERT_EQ(found.size(), 2U);
        EXPECT_EQ(found[1].reason, inTree[1].reason);
    }
    EXPECT_EQ(inTree[1].path, "/list[1]/item[3]");
    if (traits::kKeepsPositions == nullptr) {
        EXPECT_EQ(inTree[1].line, 3);
    }
    int count = 0;
    EXPECT_FALSE(schema.validateBytes(wrong, [&](const xml::Violation&) { return ++count > 5; }));
    EXPECT_EQ(count, 1) << "the receiver had enough";
    const xml::Error first = errorOf([&] { schema.demandValid(loaded(wrong)); });
    EXPECT_EQ(first.code, ErrorCode::NotValid);
    EXPECT_EQ(first.path, "/list[1]/item[1]");
    EXPECT_EQ(first.line, inTree[0].line);
    EXPECT_EQ(codeOf([&] { (void)schema.validateBytes("<list>"); }), ErrorCode::BadDocument);
    EXPECT_EQ(codeOf([&] { (void)schema.validateBytes(tooDeep()); }), ErrorCode::LimitExceeded);
    EXPECT_EQ(codeOf([&] { (void)schema.validateFile(folder.path("missing")); }), ErrorCode::NotReadable);
    const component_test::FailingClass classFails(msxml::kSchemaCacheClass);
    EXPECT_EQ(codeOf([&] { xml::Schema().addFile(folder.path("list.xsd")); }), ErrorCode::NoEngine);
}

TEST(Xml, StyleSheetsTakeParametersOfTheirTypes) {
    xml::StyleSheet made;
    std::string warnings;
    made.onWarning([&](std::string_view text) { warnings += text; });
    made.compileText(
        "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
        "<x:output method='text'/><x:param name='p' select=\"'none'\"/><x:template match='/'>"
        "<x:message>m<x:value-of select='$p'/></x:message>"
        "<x:value-of select='$p'/><x:if test='$p = 0'> zero</x:if><x:if test='false()'><x:unheard/></x:if>"
        "</x:template></x:stylesheet>");
    std::string messages;
    made.onMessage([&](std::string_view text) { messages += text; });
    xml::StyleSheet sheet = std::move(made);  // the receiver comes along
    if (traits::kWritesEncodings != nullptr) GTEST_SKIP() << traits::kWritesEncodings;
    const xml::Document source = loaded("<a/>");
    EXPECT_EQ(sheet.transform(source), "none");
    sheet.setParameter("p", "\xE2\x82\xAC");  // a literal is a text, not a truth value
    EXPECT_EQ(sheet.transform(source), "\xE2\x82\xAC");
    if (traits::kReportsMessages == nullptr) {
        EXPECT_EQ(messages, "mnonem\xE2\x82\xAC");
        EXPECT_NE(warnings.find("unheard"), std::string::npos);
    }
    std::ostringstream out;
    sheet.transform(source, out);
    EXPECT_EQ(out.str(), "\xE2\x82\xAC");
    if (traits::kTakesParameters != nullptr) GTEST_SKIP() << traits::kTakesParameters;
    sheet.setParameter("p", 0);
    EXPECT_EQ(sheet.transform(source), "0 zero");
    sheet.setParameter("p", false);
    EXPECT_EQ(sheet.transform(source), "false zero");
    sheet.clearParameters();
    EXPECT_EQ(sheet.transform(source), "none");
    EXPECT_EQ(codeOf([&] { sheet.setParameter("a b", 1); }), ErrorCode::InvalidArgument);
    xml::Document result;
    EXPECT_EQ(codeOf([&] { sheet.transform(source, result); }), ErrorCode::TransformFailed) << "no document";
}

TEST(Xml, ReaderDeliversEventsAndStops) {
    xml::Reader reader;
    std::string seen;
    xml::Events events;
    events.startElement = [&](const xml::StartTag& tag) {
        seen += '<' + tag.name().qualified() + tag.attribute("k").value_or("-") + '>';
        if (tag.name() == "stop") reader.stop();
    };
    events.endElement = [&](const xml::Name& name) { seen += '/' + name.local(); };
    events.text = [&](std::string_view text) { seen += text; };
    events.comment = [&](std::string_view text) { seen += '#' + std::string(text); };
    events.instruction = [&](std::string_view target, std::string_view data) {
        seen += '?' + std::string(target) + '=' + std::string(data);
    };
    const bool hasInstruction = traits::kDeliversInstructions == nullptr;
    reader.readBytes("<a k='1'><p:b xmlns:p='urn:p'>\xC3\xA9</p:b><!--c--><?t d?></a>", events);
    EXPECT_EQ(seen, hasInstruction ? "<a1><p:b->\xC3\xA9/b#c?t=d/a" : "<a1><p:b->\xC3\xA9/b#c/a");
    EXPECT_FALSE(reader.wasStopped());
    seen.clear();
    std::istringstream stream("<a><stop/><c/></a>");
    reader.readStream(stream, events);
    EXPECT_EQ(seen, "<a-><stop->");
    EXPECT_TRUE(reader.wasStopped());
    EXPECT_FALSE(reader.position());
    reader.readBytes("<a/>", xml::Events()) /* all of them empty */;
    if (traits::kReadsOnAfterException != nullptr) GTEST_SKIP() << traits::kReadsOnAfterException;
    events.text = [](std::string_view) { throw std::range_error("not this"); };
    EXPECT_THROW(reader.readBytes("<a>t</a>", events), std::range_error);
    std::optional<xml::Position> where;
    reader.readBytes("<a>\n <b/></a>", {.endElement = [&](const xml::Name& name) {
                         if (name == u"b") where = reader.position();
                     }});
    ASSERT_TRUE(where);
    EXPECT_EQ(where->line, 2);
    EXPECT_EQ(codeOf([&] { reader.readFile("/no such file", xml::Events()); }), ErrorCode::NotReadable);
    EXPECT_EQ(codeOf([&] { reader.readBytes(tooDeep(), xml::Events()); }), ErrorCode::LimitExceeded);
    const component_test::FailingClass classFails(msxml::kSaxReader60Class);
    EXPECT_EQ(codeOf([] { xml::Reader().readBytes("<a/>", xml::Events()); }), ErrorCode::NoEngine);
}

}  // namespace
