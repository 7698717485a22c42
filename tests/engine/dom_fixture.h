// What the tests of the document share: short forms of the COM calls, and the check that every object and
// string was given back.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "engine/com/blocks.h"
#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/com/status.h"
#include "engine/dom/document.h"
#include "engine/text/utf.h"

namespace domtest {

using engine::com::Ref;
using engine::com::textOf;
using Node = Ref<IXMLDOMNode>;
using Element = Ref<IXMLDOMElement>;
using DocumentRef = Ref<IXMLDOMDocument2>;

struct Bstr final {
    explicit Bstr(std::u16string_view t) : text(SysAllocStringLen(t.data(), static_cast<UINT>(t.size()))) {}
    explicit Bstr(std::string_view utf8) : Bstr(std::u16string_view(engine::text::toUtf16(utf8))) {}
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { SysFreeString(text); }
    operator BSTR() const { return text; }
    [[nodiscard]] VARIANT variant() const {
        VARIANT v{};
        v.vt = VT_BSTR;
        v.bstrVal = text;
        return v;
    }
    BSTR text;
};

inline std::u16string take(BSTR text) {
    std::u16string result(textOf(text));
    SysFreeString(text);
    return result;
}
inline std::string takeUtf8(BSTR text) {
    return engine::text::toUtf8(take(text));
}

// The description of the thread's last failure.
inline std::string lastDescription() {
    Ref<IErrorInfo> info;
    if (GetErrorInfo(0, info.receive()) != S_OK) return {};
    BSTR text = nullptr;
    EXPECT_EQ(info->GetDescription(&text), S_OK);
    return takeUtf8(text);
}

inline DOMNodeType typeOf(IXMLDOMNode& node) {
    DOMNodeType type = NODE_INVALID;
    EXPECT_EQ(node.get_nodeType(&type), S_OK);
    return type;
}
inline std::string nameOf(IXMLDOMNode& node) {
    BSTR name = nullptr;
    EXPECT_EQ(node.get_nodeName(&name), S_OK);
    return takeUtf8(name);
}
inline std::u16string textOfNode(IXMLDOMNode& node) {
    BSTR text = nullptr;
    EXPECT_EQ(node.get_text(&text), S_OK);
    return take(text);
}
inline Node first(IXMLDOMNode& node) {
    Node result;
    (void)node.get_firstChild(result.receive());
    return result;
}
inline Node next(IXMLDOMNode& node) {
    Node result;
    (void)node.get_nextSibling(result.receive());
    return result;
}
inline Node parentOf(IXMLDOMNode& node) {
    Node result;
    (void)node.get_parentNode(result.receive());
    return result;
}
inline Node cloneOf(IXMLDOMNode& node, VARIANT_BOOL deep = VARIANT_TRUE) {
    Node result;
    EXPECT_EQ(node.cloneNode(deep, result.receive()), S_OK);
    return result;
}

// The subtree in short: <a k="v">text[cdata]<!comment><?target data></a>.
inline std::string outline(IXMLDOMNode& node) {
    BSTR value = nullptr;
    switch (typeOf(node)) {
        case NODE_TEXT:
            EXPECT_EQ(node.get_text(&value), S_OK);
            return takeUtf8(value);
        case NODE_CDATA_SECTION:
            EXPECT_EQ(node.get_text(&value), S_OK);
            return "[" + takeUtf8(value) + "]";
        case NODE_COMMENT:
            EXPECT_EQ(node.get_text(&value), S_OK);
            return "<!" + takeUtf8(value) + ">";
        case NODE_PROCESSING_INSTRUCTION:
            EXPECT_EQ(node.get_text(&value), S_OK);
            return "<?" + nameOf(node) + " " + takeUtf8(value) + ">";
        default:
            break;
    }
    std::string inner;
    for (Node child = first(node); child; child = next(*child)) inner += outline(*child);
    if (typeOf(node) == NODE_DOCUMENT) return inner;
    std::string tag = "<" + nameOf(node);
    Ref<IXMLDOMNamedNodeMap> attributes;
    EXPECT_EQ(node.get_attributes(attributes.receive()), S_OK);
    LONG count = 0;
    EXPECT_EQ(attributes->get_length(&count), S_OK);
    for (LONG i = 0; i < count; ++i) {
        Node attribute;
        EXPECT_EQ(attributes->get_item(i, attribute.receive()), S_OK);
        tag += " " + nameOf(*attribute) + "=\"" + engine::text::toUtf8(textOfNode(*attribute)) + "\"";
    }
    return tag + (inner.empty() ? "/>" : ">" + inner + "</>");
}

class DomTest : public testing::Test {
protected:
    void SetUp() override {
        SetErrorInfo(0, nullptr);  // its text is a string too
        before_ = engine::com::blocksInUse();
    }
    void TearDown() override {
        SetErrorInfo(0, nullptr);
        EXPECT_EQ(engine::com::blocksInUse(), before_) << "objects or strings were lost";
    }

    static DocumentRef newDocument() {
        DocumentRef document;
        EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                                   reinterpret_cast<void**>(document.receive())),
                  S_OK);
        EXPECT_EQ(document->put_preserveWhiteSpace(1), S_OK);
        return document;
    }
    static bool load(IXMLDOMDocument2& document, std::u16string_view xml) {
        VARIANT_BOOL loaded = VARIANT_FALSE;
        const Bstr text(xml);
        EXPECT_GE(document.loadXML(text, &loaded), S_OK);
        return loaded == VARIANT_TRUE;
    }
    static DocumentRef loaded(std::u16string_view xml) {
        DocumentRef document = newDocument();
        EXPECT_TRUE(load(*document, xml)) << reason(*document);
        return document;
    }
    static std::string reason(IXMLDOMDocument2& document) {
        Ref<IXMLDOMParseError> error;
        EXPECT_EQ(document.get_parseError(error.receive()), S_OK);
        BSTR text = nullptr;
        EXPECT_EQ(error->get_reason(&text), S_OK);
        return takeUtf8(text);
    }
    static Element root(IXMLDOMDocument2& document) {
        Element element;
        const HRESULT status = document.get_documentElement(element.receive());
        EXPECT_EQ(status, element ? S_OK : S_FALSE);
        return element;
    }
    static Element element(IXMLDOMDocument2& document, std::string_view name) {
        Element made;
        EXPECT_EQ(document.createElement(Bstr(name), made.receive()), S_OK) << name;
        return made;
    }
    static Node text(IXMLDOMDocument2& document, std::u16string_view content) {
        Ref<IXMLDOMText> made;
        EXPECT_EQ(document.createTextNode(Bstr(content), made.receive()), S_OK);
        return Node::adopt(made.detach());
    }

private:
    std::int64_t before_ = 0;
};

}  // namespace domtest
