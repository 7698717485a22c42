// What the second version of an element adds, through the interface that a user has.
#include <functional>
#include <string>
#include <vector>

#include "tests/component/fixture.h"

namespace {

using namespace component_test;

using ElementV2 = IPtr<IKelDOMXmlElementV2>;
using ElementsV2 = IPtr<IKelDOMXmlElementItrV2>;

ElementV2 v2(IKelDOMXmlElement* element) {
    const Element owner(element);
    return ElementV2(kel::queryInterface<IKelDOMXmlElementV2>(element));
}
ElementV2 root(const DomParser& parser) {
    return v2(parser->getRootElement());
}
ElementV2 child(const ElementV2& parent, std::string_view name) {
    return v2(parent->getChild(wide(name)));
}
ElementV2 created(const DomParser& parser, std::string_view name) {
    return v2(parser->createElement(wide(name)));
}
std::string read(IKelDOMXmlElementV2& element, KelString& (IKelDOMXmlElementV2::*part)(KelString&)) {
    KelString out(u"what was there before");
    return utf8((element.*part)(out));
}
// The names of the child elements, one after the other.
std::string namesIn(const ElementV2& parent) {
    std::string names;
    const ElementsV2 children(parent->getChildrenNamed(KelString(u"")));
    while (const ElementV2 element{children->takeNext()}) names += utf8(element->getName());
    return names;
}

TEST(ElementV2, IsFoundByItsNameBesideTheFirstOnEveryHandle) {
    const DomParser parser = load("<a><b/></a>");
    const Element a = rootOf(parser);
    const Elements children(a->getChildren());
    const ElementsV2 named(root(parser)->getChildrenNamed(wide("b")));
    for (IKelDOMXmlElement* handle : {a.get(), children->getElement(), named->getElement()}) {
        auto* const second = kel::queryInterface<IKelDOMXmlElementV2>(handle);
        ASSERT_NE(second, nullptr);
        EXPECT_EQ(kel::queryInterface<IKelDOMXmlElement>(second), handle);
    }
    EXPECT_EQ(kel::queryInterface<IKelDOMXmlElementItrV2>(named.get()), named.get());
    EXPECT_EQ(kel::queryInterface<IKelDOMXmlElementItrV2>(children.get()), nullptr) << "the old cursor";
}

// Several handles stand on one element: what one removes, none may go on showing.
TEST(ElementV2, RemovesAttributesUnderEveryHandle) {
    const DomParser parser = load("<a one='1' two='2' three='3'/>");
    const ElementV2 first = root(parser);
    const ElementV2 second = root(parser);
    EXPECT_EQ(utf8(second->getAttributeName(1)), "two");
    EXPECT_EQ(utf8(second->getAttributeValue(2)), "3");
    EXPECT_TRUE(first->hasAttribute(wide("two")));
    EXPECT_TRUE(first->removeAttribute(wide("two")));
    EXPECT_FALSE(first->removeAttribute(wide("two")));
    EXPECT_FALSE(second->hasAttribute(wide("two")));
    EXPECT_TRUE(second->hasAttribute(wide("three")));
    EXPECT_EQ(second->getAttributeCount(), 2);
    EXPECT_EQ(utf8(second->getAttributeName(1)), "three");
    EXPECT_EQ(utf8(second->getAttributeValue(1)), "3");
    EXPECT_EQ(statusOf([&] { (void)second->getAttributeValue(2); }), E_POINTER);
    second->setAttribute(wide("two"), wide("again"));
    EXPECT_EQ(utf8(first->getAttributeName(2)), "two");
    for (const char* name : {"one", "two", "three"}) EXPECT_TRUE(first->removeAttribute(wide(name)));
    EXPECT_EQ(saved(parser), "<a />\n");
    first->setAttribute(wide("new"), wide("v"));
    EXPECT_EQ(saved(parser), "<a new=\"v\" />\n");
}

TEST(ElementV2, TakesNamesApart) {
    const DomParser parser =
        load("<a xmlns='urn:d' xmlns:p='urn:p'><p:b xmlns:p='urn:q'><p:c/></p:b><d xmlns=''/><xml:e/></a>");
    struct Case {
        ElementV2 element;
        const char* uri;
        const char* prefix;
        const char* local;
    };
    const ElementV2 a = root(parser);
    const ElementV2 b = child(a, "p:b");
    const Case cases[] = {{a, "urn:d", "", "a"},
                          {b, "urn:q", "p", "b"},
                          {child(b, "p:c"), "urn:q", "p", "c"},
                          {child(a, "d"), "", "", "d"},
                          {child(a, "xml:e"), "http://www.w3.org/XML/1998/namespace", "xml", "e"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.local);
        EXPECT_EQ(read(*c.element, &IKelDOMXmlElementV2::getNamespaceUri), c.uri);
        EXPECT_EQ(read(*c.element, &IKelDOMXmlElementV2::getPrefix), c.prefix);
        EXPECT_EQ(read(*c.element, &IKelDOMXmlElementV2::getLocalName), c.local);
    }
}

TEST(ElementV2, AllTextHasCDataAndDescendants) {
    const DomParser parser = load("<a>x<b>y<![CDATA[<z>]]></b><!-- no --><?no no?>w<c/></a>");
    EXPECT_EQ(read(*root(parser), &IKelDOMXmlElementV2::getAllText), "xy<z>w");
    EXPECT_EQ(read(*child(root(parser), "c"), &IKelDOMXmlElementV2::getAllText), "");
}

TEST(ElementV2, PutsChildrenWhereTheyAreWanted) {
    const DomParser parser = load("<r><a/><b/><c/></r>");
    const DomParser other = load("<o><x><y/></x></o>");
    const ElementV2 r = root(parser);
    const ElementV2 a = child(r, "a");
    const ElementV2 b = child(r, "b");
    const ElementV2 c = child(r, "c");
    const ElementV2 n = created(parser, "n");
    r->insertChild(n.get(), a.get());
    EXPECT_EQ(namesIn(r), "nabc");
    r->insertChild(c.get(), n.get());  // a child moves
    r->insertChild(a.get(), a.get());  // before itself: it stays
    r->insertChild(n.get(), b.get());  // over the one that it followed
    EXPECT_EQ(namesIn(r), "canb");
    r->insertChild(c.get(), nullptr);
    const ElementV2 x = child(root(other), "x");
    r->insertChild(x.get(), b.get());  // from another document
    EXPECT_EQ(namesIn(r), "anxbc");
    EXPECT_EQ(namesIn(x), "y");
    EXPECT_EQ(namesIn(root(other)), "");
    r->replaceChild(x.get(), a.get());
    EXPECT_EQ(namesIn(r), "xnbc");
    r->insertChild(a.get(), nullptr);  // what was taken out can come back
    r->removeChild(b.get());
    n->removeFromParent();
    EXPECT_EQ(namesIn(r), "xca");
    EXPECT_EQ(utf8(b->getName()), "b") << "the handle lives on";
    n->removeFromParent();  // nowhere: nothing happens
    root(parser)->removeFromParent();
    EXPECT_EQ(statusOf([&] { (void)rootOf(parser)->getName(); }), E_POINTER) << "no root element";
    parser->setRootElement(n.get());
    EXPECT_EQ(saved(parser), "<n />\n");
}

TEST(ElementV2, RejectsWhatIsNoChildAndChangesNothing) {
    if (traits::kRejectsStrangeNeighbours != nullptr) GTEST_SKIP() << traits::kRejectsStrangeNeighbours;
    const DomParser parser = load("<r><a><d/></a><b/></r>");
    const ElementV2 r = root(parser);
    const ElementV2 a = child(r, "a");
    const ElementV2 d = child(a, "d");
    const ElementV2 n = created(parser, "n");
    const std::vector<std::function<void()>> invalid = {
        [&] { r->insertChild(nullptr, a.get()); },  [&] { r->insertChild(n.get(), d.get()); },
        [&] { r->removeChild(nullptr); },           [&] { r->removeChild(d.get()); },
        [&] { r->replaceChild(n.get(), d.get()); }, [&] { r->replaceChild(n.get(), nullptr); },
        [&] { r->replaceChild(nullptr, a.get()); }, [&] { r->insertChild(d.get(), d.get()); },
        [&] { a->insertChild(a.get(), a.get()); },
    };
    for (std::size_t i = 0; i < invalid.size(); ++i) {
        EXPECT_TRUE(FAILED(statusOf(invalid[i]))) << "the " << i << "th was done";
    }
    EXPECT_EQ(saved(parser), "<r>\n\t<a>\n\t\t<d />\n\t</a>\n\t<b />\n</r>\n");
}

TEST(ElementV2, KnowsWhereItStoodInTheSource) {
    if (traits::kKeepsPositions != nullptr) GTEST_SKIP() << traits::kKeepsPositions;
    const DomParser parser = load("<a>\n  <b/>\n  \xC3\xA9<c\n/></a>");
    const ElementV2 a = root(parser);
    const ElementV2 b = child(a, "b");
    const ElementV2 c = child(a, "c");
    const auto position = [](const ElementV2& e) {
        return std::to_string(e->getLine()) + ':' + std::to_string(e->getColumn());
    };
    EXPECT_EQ(position(c) + ' ' + position(a) + ' ' + position(b), "3:4 1:1 2:3");
    b->removeFromParent();
    a->setAttribute(wide("x"), wide("y"));
    EXPECT_EQ(position(b) + ' ' + position(a), "2:3 1:1") << "edits change nothing";
    EXPECT_EQ(position(created(parser, "n")), "0:0");
    EXPECT_EQ(position(v2(c->clone())), "0:0");
}

// The cursor moves on before the element is handed out, and hands out one that nothing else moves.
TEST(ElementV2, CursorLetsElementsLiveAndGo) {
    const DomParser parser = load("<r><x n='1'/>t<y/><x n='2'/><x n='3'/><!--c--></r>");
    const ElementV2 r = root(parser);
    ElementsV2 cursor(r->getChildrenNamed(wide("x")));
    std::vector<ElementV2> taken;
    while (ElementV2 element{cursor->takeNext()}) {
        element->removeFromParent();
        taken.push_back(element);
    }
    EXPECT_TRUE(cursor->isEnd());
    EXPECT_EQ(namesIn(r), "y");
    for (ElementV2& element : taken) r->insertChild(element.get(), nullptr);
    cursor->first();
    ElementV2 held(cursor->getElementV2());
    cursor->next();
    const Element next(cursor->getElement(true));
    EXPECT_EQ(cursor->getElementV2()->getAttribute(wide("n")), next->getAttribute(wide("n")));
    const Element apart(cursor->getElement(false));
    EXPECT_NE(apart.get(), next.get());
    EXPECT_EQ(apart->getAttribute(wide("n")), next->getAttribute(wide("n")));
    EXPECT_EQ(utf8(held->getAttribute(wide("n"))) + utf8(next->getAttribute(wide("n"))), "12");
    cursor.reset();
    EXPECT_EQ(utf8(held->getAttribute(wide("n"))), "1") << "it outlives the cursor";
    const ElementsV2 none(r->getChildrenNamed(wide("z")));
    EXPECT_TRUE(none->isEnd());
    EXPECT_EQ(none->takeNext(), nullptr);
    EXPECT_EQ(none->getElementV2(), nullptr);
    EXPECT_EQ(none->getElement(false), nullptr);
}

TEST(ElementV2, OnNothingRaisesANullPointer) {
    const DomParser parser = makeDom();
    const ElementV2 nothing = root(parser);
    KelString out;
    const std::function<void()> uses[] = {
        [&] { (void)nothing->hasAttribute(out); },
        [&] { (void)nothing->removeAttribute(out); },
        [&] { (void)nothing->getNamespaceUri(out); },
        [&] { (void)nothing->getPrefix(out); },
        [&] { (void)nothing->getLocalName(out); },
        [&] { (void)nothing->getAllText(out); },
        [&] { nothing->removeFromParent(); },
        [&] { (void)nothing->getLine(); },
        [&] { (void)nothing->getChildrenNamed(out); },
        [&] { (void)nothing->findChildren(out); },
        [&] { nothing->insertChild(created(parser, "n").get(), nullptr); },
    };
    for (const auto& use : uses) EXPECT_EQ(statusOf(use), E_POINTER);
}

}  // namespace
