// Expressions through the component: what they select and compute, and how they are rejected.
#include <cmath>

#include "tests/component/fixture.h"

namespace {

using namespace component_test;

using Parser = IPtr<IKelDOMXmlV3>;
using ElementV2 = IPtr<IKelDOMXmlElementV2>;

Parser loaded(std::string_view xml) {
    const DomParser owner = load(xml);
    return Parser(kel::queryInterface<IKelDOMXmlV3>(owner.get()));
}
// The "n" of each element selected, and the error.
std::string selected(const Parser& parser, std::string_view expression, IKelDOMXmlElement* from = nullptr) {
    const IPtr<IKelDOMXmlElementItrV2> found(parser->select(wide(expression), from));
    if (!found) return errorOf(parser);
    std::string names;
    while (const ElementV2 element{found->takeNext()}) names += utf8(element->getAttribute(wide("n")));
    return names;
}
std::string value(const Parser& parser, std::string_view expression, IKelDOMXmlElement* from = nullptr) {
    KelString out;
    return parser->evaluateText(wide(expression), from, out) ? utf8(out) : errorOf(parser);
}
int columnOf(const Parser& parser) {
    return kel::queryInterface<IKelDOMXmlErrorV2>(parser->getError())->getColumn();
}

constexpr const char* kDocument =
    "<r n='r' xmlns:q='urn:p'><a n='1'/><b n='2'><a n='3' xmlns='urn:p'/></b>text<!--c--><q:a n='4'/>"
    "<a n='5'>5.5</a></r>";

TEST(Expressions, SelectElementsInDocumentOrder) {
    const Parser parser = loaded(kDocument);
    EXPECT_EQ(selected(parser, "//a"), "15");
    EXPECT_EQ(selected(parser, "//@n[. > 3]/.. | /r"), "r45");
    EXPECT_EQ(selected(parser, "//a[last()]/preceding::*"), "1234");
    EXPECT_EQ(selected(parser, "//none"), "");
    EXPECT_TRUE(parser->setPrefix(wide("p"), wide("urn:p")));
    EXPECT_EQ(selected(parser, "//p:a"), "34") << "whatever the prefix in the document";
    EXPECT_TRUE(parser->setPrefix(wide("p"), wide("\"<&'")));
    EXPECT_EQ(selected(parser, "//p:a"), "");
    EXPECT_TRUE(parser->setPrefix(wide("p"), KelString()));
    EXPECT_EQ(parser->selectFirst(wide("//p:a"), nullptr), nullptr);
    EXPECT_EQ(errorOf(parser).substr(0, 3), "10 ") << "the prefix is unbound";
    for (const char* wrong : {"", "xml", "xmlns", "a b", "a:b", "1", "-a", "\xCD\xBE", "\xC3\x97"})
        EXPECT_FALSE(parser->setPrefix(wide(wrong), wide("urn:p"))) << wrong;
    for (const char* good : {"_1", "a-b.c", "\xC3\xA9\xC2\xB7", "\xF0\x90\x80\x80"})
        EXPECT_TRUE(parser->setPrefix(wide(good), wide("urn:p"))) << good;
    const ElementV2 first(parser->selectFirst(wide("//a"), nullptr));
    EXPECT_EQ(utf8(first->getAttribute(wide("n"))), "1");
    EXPECT_EQ(parser->selectFirst(wide("//none"), nullptr), nullptr);
    EXPECT_EQ(errorOf(parser), "0 ");
}

// From an element: its position counts, and what stands around it can be reached.
TEST(Expressions, StartAtAnElement) {
    if (traits::kKnowsItsDocuments != nullptr) GTEST_SKIP() << traits::kKnowsItsDocuments;
    const Parser parser = loaded(kDocument);
    const ElementV2 b(parser->selectFirst(wide("/r/b"), nullptr));
    EXPECT_EQ(selected(parser, "*", b.get()), "3");
    EXPECT_EQ(selected(parser, "preceding-sibling::*", b.get()), "1");
    EXPECT_EQ(selected(parser, "/r/a", b.get()), "15");
    EXPECT_EQ(value(parser, "name(..)", b.get()), "r");
    b->removeFromParent();
    EXPECT_EQ(selected(parser, "*", b.get()), "3") << "outside the document, too";
    EXPECT_EQ(selected(parser, "//a"), "15");
    const Parser other = loaded("<o/>");
    EXPECT_EQ(selected(other, "*", b.get()), "4 Invalid Element Type");
}

// "kind:name=value" of each.
std::string nodes(const Parser& parser, std::string_view expression, IKelDOMXmlElement* from = nullptr) {
    const IPtr<IKelDOMXmlNodeItr> found(parser->selectNodes(wide(expression), from));
    if (!found) return errorOf(parser);
    std::string text;
    KelString part;
    for (; !found->isEnd(); found->next()) {
        text += std::to_string(found->getKind()) + ':' + utf8(found->getName(part));
        text += '=' + utf8(found->getValue(part)) + ' ';
        EXPECT_EQ(found->getKind() == IKelDOMXmlNodeItr::kElement,
                  IPtr(found->getElement()).get() != nullptr);
    }
    EXPECT_EQ(found->getKind(), IKelDOMXmlNodeItr::kNone);
    return text;
}

TEST(Expressions, SelectNodesOfEveryKind) {
    if (traits::kKnowsItsDocuments != nullptr) GTEST_SKIP() << traits::kKnowsItsDocuments;
    const Parser parser =
        loaded("<r xmlns:q='urn:p' q:n='1' n=''><?p d?><a>x<![CDATA[y]]>z<b>2</b></a><!--c--></r>");
    EXPECT_EQ(nodes(parser, "//@*"), "2:q:n=1 2:n= ");
    EXPECT_EQ(nodes(parser, "//a | //b"), "1:a=xyz2 1:b=2 ");
    EXPECT_EQ(nodes(parser, "/r/node()"), "7:p=d 1:a=xyz2 8:=c ");
    EXPECT_EQ(nodes(parser, "//a/text()"), "3:=xyz ") << "as one text, which is what XPath sees";
    EXPECT_EQ(nodes(parser, "/"), "9:=xyz2 ");
    EXPECT_EQ(nodes(parser, "//none"), "");
    EXPECT_EQ(nodes(parser, "count(//a)").substr(0, 3), "10 ");
    const ElementV2 a(parser->selectFirst(wide("//a"), nullptr));
    EXPECT_EQ(nodes(parser, ".//b | b", a.get()), "1:b=2 ");
    EXPECT_EQ(nodes(parser, "@*", a.get()), "");
    EXPECT_EQ(nodes(parser, "//@n", a.get()), "2:n= ") << "from the document";
    a->setAttribute(wide("u:late"), wide("5"));
    EXPECT_EQ(nodes(parser, "//b"), "1:b=2 ") << "not asked for the prefix that is not declared, yet";
    EXPECT_EQ(nodes(parser, "//@*").substr(0, 3), "10 ");
}

// What was selected stays selected; what is asked next sees the edit.
TEST(Expressions, SeeEditsButSelectionsDoNot) {
    const Parser parser = loaded(kDocument);
    const IPtr<IKelDOMXmlElementItrV2> found(parser->select(wide("//a"), nullptr));
    while (const ElementV2 element{found->takeNext()}) element->removeFromParent();
    EXPECT_EQ(selected(parser, "//a"), "");
    found->first();
    EXPECT_EQ(utf8(found->getElement()->getAttribute(wide("n"))), "1");
    Element(parser->getRootElement())->setAttribute(wide("n"), wide("changed"));
    EXPECT_EQ(value(parser, "/r/@n"), "changed");
    EXPECT_TRUE(parser->loadFromString(wide("<s/>")));
    EXPECT_EQ(value(parser, "name(/*)"), "s");
}

TEST(Expressions, ComputeTextsNumbersAndTruth) {
    const Parser parser = loaded(kDocument);
    EXPECT_EQ(value(parser, "concat(count(//*), '-', //a[2])"), "6-5.5");
    EXPECT_EQ(value(parser, "//a[@n = 5]"), "5.5");
    double number = 0;
    EXPECT_TRUE(parser->evaluateNumber(wide("sum(//*/@n[. != 'r']) div 2"), nullptr, number));
    EXPECT_EQ(number, 7.5);
    EXPECT_TRUE(parser->evaluateNumber(wide("1 div 0"), nullptr, number));
    EXPECT_TRUE(std::isinf(number));
    EXPECT_TRUE(parser->evaluateNumber(wide("'x'"), nullptr, number));
    EXPECT_TRUE(std::isnan(number));
    bool truth = false;
    EXPECT_TRUE(parser->evaluateTruth(wide("//b[a] or //b/*"), nullptr, truth));
    EXPECT_TRUE(truth);
    EXPECT_TRUE(parser->evaluateTruth(wide("//none"), nullptr, truth));
    EXPECT_FALSE(truth);
}

TEST(Expressions, AreRejectedWithTheirPosition) {
    if (traits::kRejectsExpressions != nullptr) GTEST_SKIP() << traits::kRejectsExpressions;
    const Parser parser = loaded(kDocument);
    EXPECT_TRUE(selected(parser, "//@n").starts_with("11 Error in expression //@n : "));
    EXPECT_TRUE(selected(parser, "/").starts_with("11 "));
    EXPECT_TRUE(selected(parser, "//text()").starts_with("11 "));
    struct Case {
        const char* expression;
        int column;
        const char* reason;
    };
    const Case cases[] = {
        {"", 1, "expected an expression"},
        {"//a[", 5, "expected an expression"},
        {"//a]", 4, "expected an expression"},
        {"//a[1", 6, "expected ']' after a predicate"},
        {"count(//a", 10, "expected an expression"},
        {"'abc", 5, "expected a closing quote"},
        {"//a[@n = \xC3\xA9\xC3\xA9 +]", 14, "expected an expression"},
        {"1 + nope(2)", 5, "unknown function 'nope'"},
        {"//x:a", 3, "undeclared prefix 'x'"},
        {"$v", 0, "variables are not defined here"},
        {"count(1)", 0, "operand of a wrong type; expected a node set"},
        {"count()", 0, "wrong number of arguments"},
        {"document('/etc/passwd')", 1, "unknown function 'document'"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expression);
        EXPECT_TRUE(
            value(parser, c.expression).starts_with(std::string("10 Error in expression ") + c.expression));
        if (traits::kKeepsPositions != nullptr) continue;
        EXPECT_EQ(columnOf(parser), c.column);
        EXPECT_NE(value(parser, c.expression).find(c.reason), std::string::npos)
            << value(parser, c.expression);
    }
    EXPECT_TRUE(selected(parser, "1 + 1").starts_with("10 Error in expression 1 + 1 : "));
    for (const char* const wrong : {"//a//", "//@n/a[", "count(//a]", "//a[@n='1]", "//a | "})
        EXPECT_TRUE(selected(parser, wrong).starts_with("10 ")) << wrong;
    EXPECT_EQ(selected(parser, "//a"), "15") << "after all this";
}

TEST(Expressions, DoNoMoreWorkThanIsAllowed) {
    if (traits::kBearsDepth != nullptr) GTEST_SKIP() << traits::kBearsDepth;
    std::string wideDocument = "<r>";
    for (int i = 0; i < 1000; ++i) wideDocument += "<a/>";
    const Parser parser = loaded(wideDocument + "</r>");
    EXPECT_EQ(value(parser, "count(//a/preceding::*/following::*)"), "999");
    EXPECT_EQ(value(parser, "count(//*[count(//*[count(//*[count(//*) > 1]) > 1]) > 1])").substr(0, 3),
              "10 ");
    EXPECT_EQ(value(parser, std::string(100'000, '(')).substr(0, 3), "10 ");
    std::string steps = "*";
    for (int i = 0; i < 20'000; ++i) steps += "/..";
    EXPECT_TRUE(value(parser, steps).size() < 100'000);
    EXPECT_EQ(value(parser, std::string(4000, '-').append("1")), "1");
    EXPECT_EQ(value(parser, std::string(2'000'000, ' ').append("1")).substr(0, 3), "10 ");
}

}  // namespace
