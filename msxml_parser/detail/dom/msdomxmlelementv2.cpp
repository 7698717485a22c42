// The element handle: what its second version adds.
#include <utility>

#include "msxml_parser/detail/dom/msdomxmlelement.h"
#include "msxml_parser/detail/dom/msdomxmlelementitrv2.h"
#include "msxml_parser/detail/enginespecific.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/text.h"

using msxml::assign;
using msxml::BStr;
using msxml::BStrArgument;
using msxml::check;
using msxml::Element;
using msxml::Node;
using msxml::Variant;

namespace {

const Element& engineElementOf(IKelDOMXmlElement* element) {
    const auto* const ours = kel::queryInterface<MSDOMXmlElement>(element);
    if (ours == nullptr) throw _com_error(E_INVALIDARG);
    return ours->engineElement();
}

}  // namespace

bool MSDOMXmlElement::hasAttribute(const KelString& name) {
    const BStrArgument attributeName(name.view());
    Variant value;
    const HRESULT status = element_->getAttribute(attributeName.get(), value.receive());
    check(status, element_);
    return value.get().vt == VT_BSTR;
}

bool MSDOMXmlElement::removeAttribute(const KelString& name) {
    const BStrArgument attributeName(name.view());
    if (!hasAttribute(name)) return false;  // engines differ in what they say of an absent one
    check(element_->removeAttribute(attributeName.get()), element_);
    msxml::attributeRemovals.fetch_add(1, std::memory_order_relaxed);
    return true;
}

KelString& MSDOMXmlElement::getNamespaceUri(KelString& out) {
    BStr uri;
    check(element_->get_namespaceURI(uri.receive()), element_);
    assign(out, uri.view());
    return out;
}

KelString& MSDOMXmlElement::getPrefix(KelString& out) {
    BStr prefix;
    check(element_->get_prefix(prefix.receive()), element_);
    assign(out, prefix.view());
    return out;
}

KelString& MSDOMXmlElement::getLocalName(KelString& out) {
    BStr name;
    check(element_->get_baseName(name.receive()), element_);
    assign(out, name.view());
    return out;
}

KelString& MSDOMXmlElement::getAllText(KelString& out) {
    BStr text;
    check(element_->get_text(text.receive()), element_);
    assign(out, text.view());
    return out;
}

void MSDOMXmlElement::insertChild(IKelDOMXmlElement* child, IKelDOMXmlElement* before) {
    const Element& added = engineElementOf(child);
    Node sibling;
    if (before != nullptr) sibling = engineElementOf(before);
    // Before itself is before the one that follows it. Not every engine survives to be asked for the former;
    // ours, which does, also judges one that is last.
    if (sibling.get() == added.get()) {
        if (Node next = msxml::nextSiblingOf(added)) sibling = std::move(next);
    }
    const Variant where(sibling.get());
    Node inserted;
    check(element_->insertBefore(added.get(), where.get(), inserted.receive()), element_);
}

void MSDOMXmlElement::removeChild(IKelDOMXmlElement* child) {
    Node removed;
    check(element_->removeChild(engineElementOf(child).get(), removed.receive()), element_);
}

void MSDOMXmlElement::replaceChild(IKelDOMXmlElement* replacement, IKelDOMXmlElement* replaced) {
    const Element& added = engineElementOf(replacement);
    Node old;
    check(element_->replaceChild(added.get(), engineElementOf(replaced).get(), old.receive()), element_);
}

void MSDOMXmlElement::removeFromParent() {
    Node parent;
    Node removed;
    check(element_->get_parentNode(parent.receive()), element_);
    if (parent) check(parent->removeChild(element_.get(), removed.receive()), parent);
}

int MSDOMXmlElement::getLine() {
    return msxml::positionOf(element_).line;
}

int MSDOMXmlElement::getColumn() {
    return msxml::positionOf(element_).column;
}

IKelDOMXmlElementItrV2* MSDOMXmlElement::getChildrenNamed(const KelString& name) {
    if (!element_) msxml::raiseNullReference();
    return msxml::atBorder([&] { return MSDOMXmlElementItrV2::overChildren(element_, name.view()); });
}

IKelDOMXmlElementItrV2* MSDOMXmlElement::findChildren(const KelString& name) {
    return msxml::atBorder([&] { return MSDOMXmlElementItrV2::overChildrenIfAny(element_, name.view()); });
}
