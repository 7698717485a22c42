#include "msxml_parser/detail/msdomxmlelementitrv2.h"

#include <memory>
#include <new>
#include <utility>

#include "msxml_parser/detail/bstr.h"

using msxml::check;
using msxml::Element;
using msxml::Node;

MSDOMXmlElementItrV2::MSDOMXmlElementItrV2(Element parent, std::u16string name, NodeList list) noexcept
    : parent_(std::move(parent)), name_(std::move(name)), list_(std::move(list)) {}

MSDOMXmlElementItrV2* MSDOMXmlElementItrV2::started(MSDOMXmlElementItrV2* created) {
    // Not yet counted, so it is deleted outright should the first step throw.
    std::unique_ptr<MSDOMXmlElementItrV2> itr(created);
    if (itr == nullptr) throw _com_error(E_OUTOFMEMORY);
    itr->first();
    return itr.release();
}

MSDOMXmlElementItrV2* MSDOMXmlElementItrV2::overChildren(Element parent, std::u16string name) {
    return started(new (std::nothrow) MSDOMXmlElementItrV2(std::move(parent), std::move(name), {}));
}

MSDOMXmlElementItrV2* MSDOMXmlElementItrV2::overList(NodeList list) {
    return started(new (std::nothrow) MSDOMXmlElementItrV2({}, {}, std::move(list)));
}

Element MSDOMXmlElementItrV2::skipToWanted(Node node) const {
    Element element = msxml::skipToElement(std::move(node));
    while (element && !name_.empty()) {
        msxml::BStr name;
        check(element->get_nodeName(name.receive()), element);
        if (name.view() == name_) break;
        element = msxml::skipToElement(msxml::nextSiblingOf(element));
    }
    return element;
}

Element MSDOMXmlElementItrV2::listed() const {
    Node node;
    check(list_->get_item(index_, node.receive()), list_);
    return node.as<IXMLDOMElement>();
}

void MSDOMXmlElementItrV2::first() {
    index_ = 0;
    current_ = parent_ ? skipToWanted(msxml::firstChildOf(parent_)) : listed();
}

void MSDOMXmlElementItrV2::next() {
    if (!current_) return;
    if (parent_) {
        current_ = skipToWanted(msxml::nextSiblingOf(current_));
    } else {
        ++index_;
        current_ = listed();
    }
}

IKelDOMXmlElement* MSDOMXmlElementItrV2::getElementAs(bool shared) {
    if (shared) return getSharedElement();
    return current_ ? MSDOMXmlElement::create(current_) : nullptr;
}

IKelDOMXmlElement* MSDOMXmlElementItrV2::getSharedElement() {
    if (!current_) return nullptr;
    if (shared_ && shared_->refCount() == 1) {
        shared_->standOn(current_);
    } else {
        shared_ = MSDOMXmlElement::create(current_);
    }
    return shared_.get();
}

IKelDOMXmlElementV2* MSDOMXmlElementItrV2::takeNext() {
    if (!current_) return nullptr;
    std::unique_ptr<MSDOMXmlElement> element(MSDOMXmlElement::create(current_));
    if (element == nullptr) throw _com_error(E_OUTOFMEMORY);  // null would look like the end
    next();
    return element.release();
}
