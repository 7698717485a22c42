#include "msxml_parser/detail/dom/msdomxmlelement.h"

#include <functional>

#include <gmock/gmock.h>

#include "tests/component/fixture.h"

namespace {

using namespace component_test;

Element childOf(const Element& parent, std::string_view name) {
    return Element(parent->getChild(wide(name)));
}

TEST(ElementNames, ComeWithTheirPrefixInEveryForm) {
    const DomParser parser = load("<p:\xC3\xA9 xmlns:p='u'/>");
    const Element root = rootOf(parser);
    KelString out(u"a longer text than the name");
    EXPECT_EQ(&root->getName(out), &out);
    EXPECT_EQ(utf8(out), "p:\xC3\xA9");
    EXPECT_EQ(utf8(root->getName()), "p:\xC3\xA9");
    KelCString narrow;
    auto* const ours = kel::queryInterface<MSDOMXmlElement>(root.get());
    ASSERT_NE(ours, nullptr);
    EXPECT_EQ(ours->getName(narrow), "p:\xE9");
}

TEST(ElementNames, RenamingKeepsPositionAndChildrenButNoAttributes) {
    const DomParser parser = load("<a><b x='1'>t<!--c--><d y='2'/></b><e/></a>");
    const Element root = rootOf(parser);
    const Element other = childOf(root, "b");
    const Element handle = childOf(root, "b");
    handle->setName(wide("b"));  // its own name: nothing happens
    EXPECT_EQ(handle->getAttributeCount(), 1);
    handle->setName(wide("new"));
    EXPECT_EQ(utf8(handle->getName()), "new");
    EXPECT_EQ(handle->getAttributeCount(), 0);
    EXPECT_EQ(saved(parser), "<a>\n\t<new>t\n\t\t<d y=\"2\" />\n\t</new>\n\t<e />\n</a>\n");
    EXPECT_EQ(utf8(other->getName()), "b");  // on the old element, which has left the tree
    EXPECT_EQ(other->getAttributeCount(), 1);
    EXPECT_EQ(statusOf([&] { Element(other->getParent())->getName(); }), E_POINTER);
    root->setName(wide("root"));
    EXPECT_EQ(utf8(rootOf(parser)->getName()), "root");
}

// What the writer does not show: comments, CDATA sections and processing instructions.
std::string whole(const DomParser& parser) {
    const DomParser copy = load(
        "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>"
        "<x:output omit-xml-declaration='yes'/><x:template match='/'><x:copy-of select='.'/></x:template>"
        "</x:stylesheet>");
    KelString out;
    EXPECT_TRUE(parser->transformToString(copy.get(), out));
    return utf8(out);
}

TEST(ElementNames, RenamingCopiesChildrenOfEveryKind) {
    const DomParser parser = load("<a><b>t<!--c--><?p i?><![CDATA[u]]><d>e</d></b></a>");
    childOf(rootOf(parser), "b")->setName(wide("new"));
    // an engine may show the CDATA section as such or as its text
    EXPECT_THAT(whole(parser), ::testing::ContainsRegex("<a><new>t<!--c--><.p i.>.*u.*<d>e</d></new></a>"));
    EXPECT_TRUE(parser->addProcessingInstruction(wide("target"), wide("data")));
    EXPECT_THAT(whole(parser), ::testing::HasSubstr("</a><?target data?>"));
}

TEST(ElementNames, RenamingChangesNothingWhereItFails) {
    const DomParser parser = load("<a x='1'><b/></a>");
    const Element detached(rootOf(parser)->clone());
    EXPECT_EQ(statusOf([&] { detached->setName(wide("new")); }), E_POINTER);
    EXPECT_EQ(utf8(detached->getName()), "a");
    EXPECT_EQ(saved(parser), "<a x=\"1\">\n\t<b />\n</a>\n");
}

TEST(ElementNames, WhatIsNoNameIsRejectedAndChangesNothing) {
    if (traits::kRejectsWrongNames != nullptr) GTEST_SKIP() << traits::kRejectsWrongNames;
    const DomParser parser = load("<a x='1'><b/></a>");
    EXPECT_NE(statusOf([&] { rootOf(parser)->setName(wide("not a name")); }), S_OK);
    EXPECT_NE(statusOf([&] { rootOf(parser)->setAttribute(wide("not a name"), wide("x")); }), S_OK);
    EXPECT_NE(statusOf([&] { parser->createElement(wide("<")); }), S_OK);
    EXPECT_EQ(saved(parser), "<a x=\"1\">\n\t<b />\n</a>\n");
}

TEST(Attributes, AreFoundByIndexAndByName) {
    const DomParser parser = load("<a first='1' second='\xC3\xA9\xE2\x82\xAC' p:third='' xmlns:p='u'/>");
    const Element root = rootOf(parser);
    ASSERT_EQ(root->getAttributeCount(), 4);
    const char* const names[] = {"first", "second", "p:third", "xmlns:p"};
    const char* const values[] = {"1", "\xC3\xA9\xE2\x82\xAC", "", "u"};
    for (int i = 0; i < 4; ++i) {
        KelString out;
        EXPECT_EQ(utf8(root->getAttributeName(i)), names[i]);
        EXPECT_EQ(utf8(root->getAttributeName(i, out)), names[i]);
        EXPECT_EQ(utf8(root->getAttributeValue(i)), values[i]);
        EXPECT_EQ(utf8(root->getAttributeValue(i, out)), values[i]);
        EXPECT_EQ(utf8(root->getAttribute(wide(names[i]))), values[i]);
        EXPECT_EQ(utf8(root->getAttribute(wide(names[i]), out)), values[i]);
    }
    KelCString narrow;
    EXPECT_EQ(root->getAttributeName(1, narrow), "second");
    EXPECT_EQ(root->getAttributeValue(1, narrow), "\xE9\xAC");  // the low bytes
    EXPECT_EQ(root->getAttribute(wide("second"), narrow), "\xE9\xAC");
}

TEST(Attributes, AbsentOnesAreEmptyAndBadIndexesRaise) {
    const DomParser parser = load("<a b='1'><c/></a>");
    const Element root = rootOf(parser);
    KelString out(u"earlier");
    KelCString narrow("earlier");
    EXPECT_EQ(utf8(root->getAttribute(wide("x"), out)), "");
    EXPECT_EQ(root->getAttribute(wide("x"), narrow), "");
    EXPECT_EQ(utf8(root->getAttribute(wide("x"))), "");
    EXPECT_EQ(childOf(root, "c")->getAttributeCount(), 0);
    for (const int index : {-1, 1, 1 << 30}) {
        EXPECT_EQ(statusOf([&] { root->getAttributeValue(index); }), E_POINTER) << index;
        EXPECT_EQ(statusOf([&] { root->getAttributeName(index); }), E_POINTER) << index;
    }
}

TEST(Attributes, AreCreatedAndOverwritten) {
    const DomParser parser = load("<a b='1'/>");
    const Element root = rootOf(parser);
    root->setAttribute(wide("b"), wide("<2>"));
    root->setAttribute(wide("c"), KelString());
    EXPECT_EQ(saved(parser), "<a b=\"&lt;2&gt;\" c=\"\" />\n");
}

// Short texts reach the engine on the stack, longer ones from the heap.
TEST(Attributes, TakeNamesAndValuesOfEveryLength) {
    const DomParser parser = load("<a/>");
    const Element root = rootOf(parser);
    for (std::size_t length = 1; length < 300; ++length) {
        const KelString text(std::u16string(length, length % 2 == 0 ? u'n' : u'\u00E9'));
        root->setAttribute(text, text);
        ASSERT_EQ(root->getAttribute(text), text);
        if (traits::kSetsTextsAsTheyAre == nullptr) {
            root->setText(text);
            ASSERT_EQ(root->getText(), text);
        }
        ASSERT_EQ(Element(parser->createElement(text))->getName(), text);
    }
    EXPECT_EQ(root->getAttributeCount(), 299);
}

TEST(ElementText, IsThatOfTheElementsOwnTextNodes) {
    const DomParser parser = load("<a>x<b>z</b><![CDATA[cdata]]><!--c-->y</a>");
    const Element root = rootOf(parser);
    KelString out(u"earlier");
    KelCString narrow;
    EXPECT_EQ(utf8(root->getText()), "xy");
    EXPECT_EQ(utf8(root->getText(out)), "xy");
    EXPECT_EQ(root->getText(narrow), "xy");
    EXPECT_EQ(utf8(childOf(root, "b")->getText(out)), "z");
}

TEST(ElementText, IsNotTrimmed) {
    if (traits::kKeepsWhiteSpaceOfTexts != nullptr) GTEST_SKIP() << traits::kKeepsWhiteSpaceOfTexts;
    EXPECT_EQ(utf8(rootOf(load("<a> x <b>z</b> y </a>"))->getText()), " x  y ");
}

TEST(ElementText, TakesMarkupForText) {
    if (traits::kSetsTextsAsTheyAre != nullptr) GTEST_SKIP() << traits::kSetsTextsAsTheyAre;
    for (const char* before : {"<a/>", "<a>x</a>"}) {
        const DomParser parser = load(before);
        rootOf(parser)->setText(wide("1 < 2 & &lt;"));
        EXPECT_EQ(utf8(rootOf(parser)->getText()), "1 < 2 & &lt;");
    }
}

TEST(ElementText, ReplacesTheFirstTextNodeOrAppendsOne) {
    struct Row {
        const char* before;
        const char* after;
        const char* text;
    };
    constexpr Row rows[] = {
        {"<a>x<b/>y</a>", "<a>Ty\n\t<b />\n</a>\n", "Ty"},
        {"<a><b>z</b></a>", "<a>zT\n\t<b>z</b>\n</a>\n", "T"},
        {"<a/>", "<a>T</a>\n", "T"},
        {"<a><![CDATA[c]]></a>", "<a>cT</a>\n", "T"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before);
        const DomParser parser = load(row.before);
        rootOf(parser)->setText(wide("T"));
        EXPECT_EQ(utf8(rootOf(parser)->getText()), row.text);
        EXPECT_EQ(saved(parser), row.after);
    }
}

TEST(ElementNeighbours, ChildrenByNameParentsAndClones) {
    const DomParser parser = load("<a>t<!--b--><b n='1'/><B n='2'/><b n='3'/></a>");
    const Element root = rootOf(parser);
    EXPECT_EQ(utf8(childOf(root, "b")->getAttribute(wide("n"))), "1");
    EXPECT_EQ(utf8(childOf(root, "B")->getAttribute(wide("n"))), "2");
    EXPECT_EQ(root->getChild(wide("c")), nullptr);
    EXPECT_EQ(utf8(Element(childOf(root, "b")->getParent())->getName()), "a");

    const Element copy(childOf(root, "b")->clone());
    copy->setAttribute(wide("n"), wide("4"));
    KelString deep;
    Element(root->clone())->write(nullptr, deep, KelString(), KelString(), false);
    EXPECT_EQ(utf8(deep), "<a>t\n<b n=\"1\" />\n<B n=\"2\" />\n<b n=\"3\" />\n</a>\n");
    EXPECT_EQ(utf8(childOf(root, "b")->getAttribute(wide("n"))), "1");
    root->addChild(copy.get());
    root->addChild(childOf(root, "B").get());  // has a parent: moves
    root->addChild(nullptr);
    EXPECT_EQ(saved(parser),
              "<a>t\n\t<b n=\"1\" />\n\t<b n=\"3\" />\n\t<b n=\"4\" />\n\t<B n=\"2\" />\n</a>\n");
    EXPECT_FALSE(root->isSpecialA() || root->isSpecialB());
}

TEST(ElementNeighbours, AnElementDoesNotMoveBelowItself) {
    if (traits::kRejectsCycles != nullptr) GTEST_SKIP() << traits::kRejectsCycles;
    const DomParser parser = load("<a><b/></a>");
    EXPECT_NE(statusOf([&] { childOf(rootOf(parser), "b")->addChild(rootOf(parser).get()); }), S_OK);
    EXPECT_EQ(saved(parser), "<a>\n\t<b />\n</a>\n");
}

TEST(ElementNeighbours, HandlesOfAnotherParserMoveAcross) {
    const DomParser from = load("<a><b>t</b></a>");
    const DomParser to = load("<c/>");
    const Element moved = childOf(rootOf(from), "b");
    rootOf(to)->addChild(moved.get());
    EXPECT_EQ(saved(from), "<a />\n");
    EXPECT_EQ(saved(to), "<c>\n\t<b>t</b>\n</c>\n");
    moved->setText(wide("u"));
    EXPECT_EQ(saved(to), "<c>\n\t<b>u</b>\n</c>\n");
}

// The parent of a root element, and the root element of nothing.
TEST(ElementOnNothing, RaisesANullPointerOnEveryUse) {
    const DomParser parser = load("<a/>");
    const DomParser empty = makeDom();
    for (const Element& element : {Element(rootOf(parser)->getParent()), rootOf(empty)}) {
        ASSERT_TRUE(element);
        const KelString text(u"t");
        KelString out(u"o");
        const std::function<void()> operations[] = {
            [&] { element->clone(); },
            [&] { element->getName(); },
            [&] { element->setName(text); },
            [&] { element->getAttributeValue(0); },
            [&] { element->getAttribute(text); },
            [&] { element->setAttribute(text, text); },
            [&] { element->getAttributeCount(); },
            [&] { element->getAttributeName(0); },
            [&] { element->getText(); },
            [&] { element->setText(text); },
            [&] { element->getChild(text); },
            [&] { element->getChildren(); },
            [&] { element->addChild(rootOf(parser).get()); },
            [&] { element->getParent(); },
            [&] { element->write(nullptr, out, text, text, false); },
        };
        for (const auto& operation : operations) EXPECT_EQ(statusOf(operation), E_POINTER);
        EXPECT_EQ(utf8(out), "ot");  // what was there and the indent
        EXPECT_NO_THROW(element->addChild(nullptr));
    }
}

TEST(RootElement, IsCreatedAndSet) {
    const DomParser parser = makeDom();
    const Element made(parser->createElement(wide("a")));
    made->addChild(Element(parser->createElement(wide("b"))).get());
    EXPECT_EQ(made->refCount(), 1);
    parser->setRootElement(made.get());
    EXPECT_EQ(saved(parser), "<a>\n\t<b />\n</a>\n");
    EXPECT_EQ(errorOf(parser), "0 ");
}

TEST(RootElement, OfADocumentThatHasOneIsRejected) {
    if (traits::kRejectsSecondRoot != nullptr) GTEST_SKIP() << traits::kRejectsSecondRoot;
    const DomParser parser = load("<a><b/></a>");
    EXPECT_NE(statusOf([&] { parser->setRootElement(Element(parser->createElement(wide("c"))).get()); }),
              S_OK);
    EXPECT_EQ(errorOf(parser), "0 ");
    EXPECT_EQ(saved(parser), "<a>\n\t<b />\n</a>\n");
}

TEST(RootElement, IsReplacedWhereItStands) {
    const DomParser parser = load("<!--1--><a><b/></a><?p 2?>");
    auto* const newer = kel::queryInterface<IKelDOMXmlV3>(parser.get());
    const Element old = rootOf(parser);
    newer->replaceRootElement(Element(parser->createElement(wide("c"))).get());
    KelString text;
    EXPECT_TRUE(newer->writeString(text, 0));
    EXPECT_EQ(utf8(text), "<!--1-->\n<c/>\n<?p 2?>\n");
    newer->replaceRootElement(nullptr);
    EXPECT_EQ(errorOf(parser), "4 Invalid Element Type");
    rootOf(parser)->addChild(old.get());
    EXPECT_EQ(saved(parser), "<c>\n\t<a>\n\t\t<b />\n\t</a>\n</c>\n");
}

// An element from elsewhere, which has no interface name of ours.
class ForeignElement final : public MSDOMXmlElement {
public:
    ForeignElement() : MSDOMXmlElement({}) {}
    void queryInterface(const char*, void** out, bool) override { *out = nullptr; }
};

TEST(RootElement, ElementsOfAnotherImplementationAreNotTaken) {
    const DomParser parser = load("<a/>");
    const Element foreign(new ForeignElement);
    parser->setRootElement(foreign.get());
    EXPECT_EQ(errorOf(parser), "4 Invalid Element Type");
    rootOf(parser)->addChild(foreign.get());
    EXPECT_EQ(saved(parser), "<a />\n");
}

TEST(ElementCursor, VisitsElementsAlone) {
    const DomParser parser = load("<a>t<b/><!--c--><?p i?><![CDATA[x]]><d/>u</a>");
    const Elements itr(rootOf(parser)->getChildren());
    ASSERT_FALSE(itr->isEnd());
    const Element shared(itr->getElement());
    const Element kept(itr->getElement(false));
    EXPECT_EQ(utf8(shared->getName()), "b");
    itr->next();
    EXPECT_EQ(itr->getElement(true), shared.get());
    EXPECT_EQ(utf8(shared->getName()), "d");
    EXPECT_EQ(utf8(kept->getName()), "b");
    for (int i = 0; i < 2; ++i) {
        itr->next();
        EXPECT_TRUE(itr->isEnd());
        EXPECT_EQ(itr->getElement(), nullptr);
        EXPECT_EQ(itr->getElement(false), nullptr);
    }
    EXPECT_EQ(utf8(shared->getName()), "d");
    itr->first();
    EXPECT_EQ(utf8(Element(itr->getElement())->getName()), "b");
}

TEST(ElementCursor, StandsAtTheEndWhereThereAreNoElements) {
    const DomParser parser = load("<a>t</a>");
    EXPECT_TRUE(Elements(rootOf(parser)->getChildren())->isEnd());
    EXPECT_TRUE(Elements(parser->getRootElementItr())->isEnd());
    const Elements none(makeDom()->getRootElementItr());  // no root element either
    EXPECT_TRUE(none->isEnd());
    none->first();
    none->next();
    EXPECT_EQ(none->getElement(), nullptr);
}

// The iterator's own handle dies with it unless there is another holder.
TEST(ElementCursor, SharesItsHandle) {
    Elements itr(load("<a><b/></a>")->getRootElementItr());
    EXPECT_EQ(itr->getElement()->refCount(), 1);
    const Element shared(itr->getElement());
    EXPECT_EQ(shared->refCount(), 2);
    itr.reset();
    EXPECT_EQ(shared->refCount(), 1);
    EXPECT_EQ(utf8(shared->getName()), "b");  // parser and document are long gone for all others
}

}  // namespace
