// Each operation is one or two calls of the engine. What the interface returns by reference lives in the
// handle; the attributes are kept from one call to the next, so that reading them in order does not search.
#include "msxml_parser/detail/dom/msdomxmlelement.h"

#include <new>
#include <string>
#include <utility>

#include "msxml_parser/detail/dom/elementwriter.h"
#include "msxml_parser/detail/dom/msdomxmlelementitr.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/text.h"

using msxml::assign;
using msxml::BStr;
using msxml::BStrArgument;
using msxml::check;
using msxml::ComPtr;
using msxml::Element;
using msxml::firstChildOf;
using msxml::nextSiblingOf;
using msxml::Node;
using msxml::typeOf;
using msxml::Variant;

MSDOMXmlElement::MSDOMXmlElement(Element element) noexcept : element_(std::move(element)) {}

MSDOMXmlElement* MSDOMXmlElement::create(Element element) noexcept {
    return new (std::nothrow) MSDOMXmlElement(std::move(element));
}

IKelDOMXmlElement* MSDOMXmlElement::clone() {
    Node copy;
    check(element_->cloneNode(VARIANT_TRUE, copy.receive()), element_);
    return create(copy.as<IXMLDOMElement>());
}

// Names.

template <typename String>
String& MSDOMXmlElement::readName(String& out) const {
    BStr name;
    check(element_->get_tagName(name.receive()), element_);
    assign(out, name.view());
    return out;
}

KelCString& MSDOMXmlElement::getNameNarrow(KelCString& out) {
    return readName(out);
}
KelString& MSDOMXmlElement::getNameWide(KelString& out) {
    return readName(out);
}
KelString MSDOMXmlElement::getNameCopy() {
    KelString name;
    readName(name);
    return name;
}

// Intentional: attributes are not carried over. See behaviour.md, "Renaming an element".
void MSDOMXmlElement::setName(const KelString& name) {
    BStr current;
    check(element_->get_tagName(current.receive()), element_);
    if (current.view() == name.view()) return;

    Element renamed;
    const BStrArgument tagName(name.view());
    const ComPtr<IXMLDOMDocument> document = ownerDocument();
    check(document->createElement(tagName.get(), renamed.receive()), document);
    for (Node child = firstChildOf(element_); child; child = nextSiblingOf(child)) {
        Node copy;
        Node added;
        check(child->cloneNode(VARIANT_TRUE, copy.receive()), child);
        check(renamed->appendChild(copy.get(), added.receive()), renamed);
    }

    Node parent;
    Node replaced;
    check(element_->get_parentNode(parent.receive()), element_);
    check(parent->replaceChild(renamed.get(), element_.get(), replaced.receive()), parent);
    standOn(std::move(renamed));
}

// Attributes.

const ComPtr<IXMLDOMNamedNodeMap>& MSDOMXmlElement::attributes() {
    if (!attributes_) check(element_->get_attributes(attributes_.receive()), element_);
    return attributes_;
}

const Node& MSDOMXmlElement::attributeAt(int index) {
    const std::uint32_t removals = msxml::attributeRemovals.load(std::memory_order_relaxed);
    if (index != attributeIndex_ || !attribute_ || removals != removalsSeen_) {
        check(attributes()->get_item(index, attribute_.receive()), attributes_);
        attributeIndex_ = index;
        removalsSeen_ = removals;
    }
    return attribute_;
}

void MSDOMXmlElement::forgetAttributes() noexcept {
    attributes_ = {};
    attribute_ = {};
}

template <typename String>
String& MSDOMXmlElement::readAttributeValue(int index, String& out) {
    const Node& attribute = attributeAt(index);
    Variant value;
    check(attribute->get_nodeValue(value.receive()), attribute);
    assign(out, value.text());
    return out;
}

KelCString& MSDOMXmlElement::getAttributeValueNarrow(int index, KelCString& out) {
    return readAttributeValue(index, out);
}
KelString& MSDOMXmlElement::getAttributeValueWide(int index, KelString& out) {
    return readAttributeValue(index, out);
}
KelString MSDOMXmlElement::getAttributeValueCopy(int index) {
    KelString value;
    readAttributeValue(index, value);
    return value;
}

template <typename String>
String& MSDOMXmlElement::readAttribute(const KelString& name, String& out) const {
    const BStrArgument attributeName(name.view());
    Variant value;
    check(element_->getAttribute(attributeName.get(), value.receive()), element_);
    assign(out, value.text());
    return out;
}

KelCString& MSDOMXmlElement::getAttributeNarrow(const KelString& name, KelCString& out) {
    return readAttribute(name, out);
}
KelString& MSDOMXmlElement::getAttributeWide(const KelString& name, KelString& out) {
    return readAttribute(name, out);
}
KelString MSDOMXmlElement::getAttributeCopy(const KelString& name) {
    KelString value;
    readAttribute(name, value);
    return value;
}

void MSDOMXmlElement::setAttribute(const KelString& name, const KelString& value) {
    const BStrArgument attributeName(name.view());
    const BStrArgument attributeValue(value.view());
    check(element_->setAttribute(attributeName.get(), attributeValue.variant()), element_);
}

int MSDOMXmlElement::getAttributeCount() {
    LONG count = 0;
    check(attributes()->get_length(&count), attributes_);
    return static_cast<int>(count);
}

template <typename String>
String& MSDOMXmlElement::readAttributeName(int index, String& out) {
    const Node& attribute = attributeAt(index);
    BStr name;
    check(attribute->get_nodeName(name.receive()), attribute);
    assign(out, name.view());
    return out;
}

KelCString& MSDOMXmlElement::getAttributeNameNarrow(int index, KelCString& out) {
    return readAttributeName(index, out);
}
KelString& MSDOMXmlElement::getAttributeNameWide(int index, KelString& out) {
    return readAttributeName(index, out);
}
KelString MSDOMXmlElement::getAttributeNameCopy(int index) {
    KelString name;
    readAttributeName(index, name);
    return name;
}

// Text.

template <typename String>
String& MSDOMXmlElement::readText(String& out) const {
    return msxml::atBorder([&]() -> String& {
        BStr text;  // nearly every element has one text node at most: no joining then
        std::u16string joined;
        for (Node child = firstChildOf(element_); child; child = nextSiblingOf(child)) {
            if (typeOf(child) != NODE_TEXT) continue;
            joined += text.view();
            check(child->get_text(text.receive()), child);
        }
        if (!joined.empty()) joined += text.view();
        assign(out, joined.empty() ? text.view() : std::u16string_view(joined));
        return out;
    });
}

KelCString& MSDOMXmlElement::getTextNarrow(KelCString& out) {
    return readText(out);
}
KelString& MSDOMXmlElement::getTextWide(KelString& out) {
    return readText(out);
}
KelString MSDOMXmlElement::getTextCopy() {
    KelString text;
    readText(text);
    return text;
}

void MSDOMXmlElement::setText(const KelString& text) {
    const BStrArgument content(text.view());
    Node child = firstChildOf(element_);
    while (child && typeOf(child) != NODE_TEXT) child = nextSiblingOf(child);
    if (child) {
        check(child->put_text(content.get()), child);
        return;
    }
    ComPtr<IXMLDOMText> added;
    const ComPtr<IXMLDOMDocument> document = ownerDocument();
    check(document->createTextNode(content.get(), added.receive()), document);
    check(element_->appendChild(added.get(), child.receive()), element_);
}

// Neighbours.

IKelDOMXmlElement* MSDOMXmlElement::getChild(const KelString& name) {
    // The cursor's walk without the cursor.
    const std::u16string_view wanted = name.view();
    for (Element child = skipToElement(firstChildOf(element_)); child;
         child = skipToElement(nextSiblingOf(child))) {
        BStr current;
        check(child->get_nodeName(current.receive()), child);
        if (current.view() == wanted) return create(std::move(child));
    }
    return nullptr;
}

IKelDOMXmlElementItr* MSDOMXmlElement::getChildren() {
    if (!element_)
        msxml::raiseNullReference();  // the cursor itself takes nothing for a parent without children
    return MSDOMXmlElementItr::create(element_);
}

void MSDOMXmlElement::addChild(IKelDOMXmlElement* child) {
    const auto* const ours = kel::queryInterface<MSDOMXmlElement>(child);
    if (ours == nullptr) return;
    Node added;
    check(element_->appendChild(ours->engineElement().get(), added.receive()), element_);
}

// Intentional: of a root element a handle on nothing, for the document is no element.
IKelDOMXmlElement* MSDOMXmlElement::getParent() {
    Node parent;
    check(element_->get_parentNode(parent.receive()), element_);
    return create(parent.as<IXMLDOMElement>());
}

ComPtr<IXMLDOMDocument> MSDOMXmlElement::ownerDocument() const {
    ComPtr<IXMLDOMDocument> document;
    check(element_->get_ownerDocument(document.receive()), element_);
    return document;
}

bool MSDOMXmlElement::write(std::FILE* file, KelString& out, const KelString& indent,
                            const KelString& indentUnit, bool wide) {
    return msxml::atBorder([&] {
        msxml::ElementWriter({file, indent.view(), indentUnit.view(), wide}, out).write(element_);
        return true;
    });
}
