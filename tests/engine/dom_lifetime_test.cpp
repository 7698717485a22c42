#include <array>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "engine/dom/livetree.h"
#include "tests/engine/dom_fixture.h"

namespace {

using namespace domtest;

class DomLifetime : public DomTest {
protected:
    static const engine::dom::Tree& treeOf(IUnknown& node) { return engine::dom::Binding::of(&node)->tree(); }
};

TEST_F(DomLifetime, AnyObjectKeepsItsDocumentAlive) {
    for (int kept = 0; kept < 4; ++kept) {
        Node node;
        Ref<IXMLDOMNamedNodeMap> map;
        Node attribute;
        Ref<IXMLDOMNodeList> list;
        {
            const DocumentRef document = loaded(u"<a k=\"v\"><b/>t</a>");
            const Element a = root(*document);
            if (kept == 0) node = next(*first(*a));
            if (kept != 0) {
                EXPECT_EQ(a->get_attributes(map.receive()), S_OK);
            }
            if (kept == 1) {
                EXPECT_EQ(map->get_item(0, attribute.receive()), S_OK);
            }
            if (kept != 2) map = {};
            if (kept == 3) {
                EXPECT_EQ(a->get_childNodes(list.receive()), S_OK);
            }
        }
        Ref<IXMLDOMDocument> owner;
        if (node) {
            EXPECT_EQ(node->get_ownerDocument(owner.receive()), S_OK);
            EXPECT_EQ(outline(*parentOf(*node)), "<a k=\"v\"><b/>t</>");
        }
        if (attribute) {
            EXPECT_EQ(nameOf(*attribute), "k");
            EXPECT_EQ(attribute->get_ownerDocument(owner.receive()), S_OK);
        }
        if (map) {
            EXPECT_EQ(map->get_item(0, attribute.receive()), S_OK);
        }
        if (list) {
            EXPECT_EQ(list->get_item(1, node.receive()), S_OK);
        }
        if (owner) {
            EXPECT_EQ(outline(*owner), "<a k=\"v\"><b/>t</>");
        }
    }
}

TEST_F(DomLifetime, ANodeHasOneObjectAndOneIdentity) {
    const DocumentRef document = loaded(u"<a><b/></a>");
    const Element a = root(*document);
    EXPECT_EQ(parentOf(*first(*a)).get(), static_cast<IXMLDOMNode*>(a.get()));
    EXPECT_EQ(parentOf(*a).get(), static_cast<IXMLDOMNode*>(document.get()));
    struct Row {
        const IID* iid;
        HRESULT element;
        HRESULT document;
    };
    int unset = 0;
    for (const Row& row : std::array<Row, 7>{{{&IID_IUnknown, S_OK, S_OK},
                                              {&IID_IDispatch, S_OK, S_OK},
                                              {&IID_IXMLDOMNode, S_OK, S_OK},
                                              {&IID_IXMLDOMElement, S_OK, E_NOINTERFACE},
                                              {&IID_IXMLDOMText, E_NOINTERFACE, E_NOINTERFACE},
                                              {&IID_IXMLDOMDocument, E_NOINTERFACE, S_OK},
                                              {&IID_IXMLDOMDocument2, E_NOINTERFACE, S_OK}}}) {
        void* result = &unset;
        EXPECT_EQ(a->QueryInterface(*row.iid, &result), row.element);
        EXPECT_EQ(result, row.element == S_OK ? a.get() : nullptr);
        if (result != nullptr) a->Release();
        result = &unset;
        EXPECT_EQ(document->QueryInterface(*row.iid, &result), row.document);
        EXPECT_EQ(result, row.document == S_OK ? document.get() : nullptr);
        if (result != nullptr) document->Release();
    }
}

// Dropped objects serve other nodes; what a node's record says of an earlier object must not lead there.
TEST_F(DomLifetime, DroppedObjectsServeOtherNodesAndOnlyThose) {
    std::u16string xml = u"<a>";
    for (int i = 0; i < 60; ++i) xml += (i % 3 == 0) ? u"<b/>t" : u"<c/><!--x-->";
    const DocumentRef document = loaded(xml + u"</a>");
    const Element a = root(*document);
    const std::string expected = outline(*a);
    std::vector<Node> held;  // more than are kept, of every kind
    for (Node child = first(*a); child; child = next(*child)) held.push_back(child);
    for (std::size_t i = 0; i < held.size(); i += 2) held[i] = {};
    EXPECT_EQ(outline(*a), expected);
    Node at = first(*a);
    for (std::size_t i = 0; i < held.size(); ++i, at = next(*at)) {
        if (held[i]) {
            EXPECT_EQ(held[i].get(), at.get()) << i;
        } else {
            held[i] = at;
        }
    }
    for (std::size_t i = 0; i + 1 < held.size(); ++i) EXPECT_NE(held[i].get(), held[i + 1].get()) << i;
    EXPECT_EQ(outline(*a), expected);
    // The tree, its document gone, lives as long as its last object, and takes those it keeps along.
    ASSERT_TRUE(load(*document, u"<other/>"));
    held.erase(held.begin() + 1, held.end());
}

TEST_F(DomLifetime, EditsWithoutEndDoNotGrowTheTree) {
    const DocumentRef document = loaded(u"<a><b k=\"v\">some text</b></a>");
    const Element a = root(*document);
    const Node kept = cloneOf(*a);
    std::size_t early = 0;
    for (int i = 0; i < 60000; ++i) {
        // What renaming does: a new element gets copies of the children and replaces the old one.
        const Element fresh = element(*document, i % 2 == 0 ? "c" : "b");
        const Node old = first(*a);
        const Node inner = first(*old);
        ASSERT_EQ(fresh->appendChild(cloneOf(*inner).get(), nullptr), S_OK);
        ASSERT_EQ(a->replaceChild(fresh.get(), old.get(), nullptr), S_OK);
        const Bstr value(std::u16string(100, static_cast<char16_t>(u'a' + i % 20)));
        ASSERT_EQ(first(*fresh)->put_text(value), S_OK);
        ASSERT_EQ(fresh->setAttribute(Bstr(u"k"), value.variant()), S_OK);
        if (i == 10000) early = treeOf(*a).sizeInBytes();
    }
    EXPECT_LE(treeOf(*a).sizeInBytes(), 2 * early);
    EXPECT_LT(treeOf(*a).nodeCount(), 5000u);
    const std::string last(100, static_cast<char>('a' + 59999 % 20));
    EXPECT_EQ(outline(*a), "<a><b k=\"" + last + "\">" + last + "</></>");
    EXPECT_EQ(outline(*kept), "<a><b k=\"v\">some text</></>");
}

// Whichever of its objects goes last, and though nothing was ever cut out.
TEST_F(DomLifetime, WhatIsMadeAndGivenUpDoesNotGrowTheTree) {
    const std::function<void(IXMLDOMDocument2&)> ways[] = {
        [](IXMLDOMDocument2& document) { (void)element(document, "e"); },
        [](IXMLDOMDocument2& document) { (void)cloneOf(*root(document)); },
        [](IXMLDOMDocument2& document) {
            Element outer = element(document, "outer");
            const Element inner = element(document, "inner");
            ASSERT_EQ(outer->appendChild(inner.get(), nullptr), S_OK);
            outer = {};
        },
        [](IXMLDOMDocument2& document) {
            EXPECT_EQ(root(document)->put_text(Bstr(std::u16string(50, u'x'))), S_OK);
            EXPECT_EQ(root(document)->put_text(Bstr(u"")), S_OK);
        },
    };
    for (const auto& makeAndGiveUp : ways) {
        const DocumentRef document = loaded(u"<a/>");
        for (int i = 0; i < 20000; ++i) makeAndGiveUp(*document);
        EXPECT_LT(treeOf(*root(*document)).nodeCount(), 3000u);
        EXPECT_EQ(outline(*document), "<a/>");
    }
}

// Far deeper than any stack allows: building, moving, copying, reading and letting go.
TEST_F(DomLifetime, DepthCostsNoStack) {
    std::thread([] {
        constexpr int kDepth = 100'000;
        const DocumentRef document = newDocument();
        Node top = Node::share(element(*document, "top").get());
        Node bottom = top;
        for (int i = 0; i < kDepth; ++i) {
            const Element child = element(*document, "e");
            ASSERT_EQ(bottom->appendChild(child.get(), nullptr), S_OK);
            bottom = Node::share(child.get());
        }
        ASSERT_EQ(bottom->appendChild(text(*document, u"deep").get(), nullptr), S_OK);
        for (int i = 0; i < kDepth; ++i) {  // and upwards
            const Element above = element(*document, "u");
            ASSERT_EQ(above->appendChild(top.get(), nullptr), S_OK);
            top = Node::share(above.get());
        }
        EXPECT_EQ(bottom->appendChild(top.get(), nullptr), E_FAIL);
        ASSERT_EQ(document->appendChild(top.get(), nullptr), S_OK);
        EXPECT_EQ(textOfNode(*document), u"deep");
        Node copy = cloneOf(*top);
        EXPECT_EQ(textOfNode(*copy), u"deep");
        const DocumentRef other = newDocument();
        ASSERT_EQ(other->appendChild(top.get(), nullptr), S_OK);
        EXPECT_EQ(textOfNode(*bottom), u"deep");
        EXPECT_EQ(document->appendChild(copy.get(), nullptr), S_OK);
        copy = {};
        int depth = 0;
        for (Node at = bottom; at; at = parentOf(*at)) ++depth;
        EXPECT_EQ(depth, 2 * kDepth + 2);
    }).join();
}

TEST_F(DomLifetime, RunningOutOfMemoryInAnEditLeavesTheTreeAsItWas) {
    const DocumentRef source = loaded(u"<s><m k=\"v\">x<n l=\"w\"/><?p d?></m></s>");
    const Node m = first(*root(*source));
    const Node n = next(*first(*m));
    std::vector<Node> held;  // more objects than a table has room for at first
    for (int i = 0; i < 40; ++i) {
        held.push_back(Node::share(element(*source, "h").get()));
        ASSERT_EQ(n->appendChild(held.back().get(), nullptr), S_OK);
    }
    const std::string moved = outline(*m);
    int rejections = 0;
    for (int allowed = 0;; ++allowed) {
        ASSERT_LT(allowed, 100);
        const DocumentRef target = loaded(u"<t/>");
        const Element t = root(*target);
        HRESULT status = S_OK;
        {
            const engine::dom::FailingAllocation failing(allowed);
            status = t->appendChild(m.get(), nullptr);
        }
        if (status == S_OK) {
            EXPECT_EQ(outline(*target), "<t>" + moved + "</>");
            EXPECT_EQ(parentOf(*n).get(), m.get());
            EXPECT_EQ(parentOf(*held.back()).get(), n.get());
            break;
        }
        ++rejections;
        EXPECT_EQ(status, E_OUTOFMEMORY);
        EXPECT_EQ(outline(*target), "<t/>");
        EXPECT_EQ(outline(*source), "<s>" + moved + "</>");
    }
    EXPECT_GT(rejections, 3);
    {
        const engine::dom::FailingAllocation failing(0);
        // One of the tables has to grow sooner or later, whichever it is.
        Element made;
        HRESULT status = S_OK;
        std::vector<Element> all;
        for (int i = 0; i < 100 && status == S_OK; ++i) {
            status = source->createElement(Bstr("e" + std::to_string(i)), made.receive());
            if (status == S_OK) all.push_back(made);
        }
        EXPECT_EQ(status, E_OUTOFMEMORY);
        EXPECT_EQ(made.get(), nullptr);
        EXPECT_LT(all.size(), 100u);
    }
    EXPECT_EQ(nameOf(*element(*source, "works-again")), "works-again");
}

TEST_F(DomLifetime, ThreadsWithDocumentsOfTheirOwnDoNotMeet) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            const std::string name = "e" + std::to_string(i);
            for (int round = 0; round < 200; ++round) {
                const DocumentRef document = newDocument();
                const Element top = element(*document, name);
                ASSERT_EQ(document->appendChild(top.get(), nullptr), S_OK);
                ASSERT_EQ(top->appendChild(text(*document, u"t").get(), nullptr), S_OK);
                ASSERT_EQ(outline(*document), "<" + name + ">t</>");
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
