#include "msxml_parser/detail/dom/msdomxmlelementitrv2.h"

#include <memory>
#include <new>
#include <utility>

#include "msxml_parser/detail/text.h"

using msxml::check;
using msxml::Element;
using msxml::Node;

namespace {

// `node` or the first sibling after it that is an element of this name.
Element skipToWanted(Node node, std::u16string_view wanted) {
    Element element = msxml::skipToElement(std::move(node));
    if (wanted.empty()) return element;
    while (element) {
        msxml::BStr name;
        check(element->get_nodeName(name.receive()), element);
        if (name.view() == wanted) break;
        element = msxml::skipToElement(msxml::nextSiblingOf(element));
    }
    return element;
}

MSDOMXmlElementItrV2* made(MSDOMXmlElementItrV2* cursor) {
    if (cursor == nullptr) throw _com_error(E_OUTOFMEMORY);
    return cursor;
}

}  // namespace

MSDOMXmlElementItrV2::MSDOMXmlElementItrV2(Element parent, std::u16string_view name, Element first)
    : parent_(std::move(parent)), name_(name), current_(std::move(first)) {}

MSDOMXmlElementItrV2::MSDOMXmlElementItrV2(NodeList list) noexcept : list_(std::move(list)) {}

MSDOMXmlElementItrV2* MSDOMXmlElementItrV2::overChildren(Element parent, std::u16string_view name) {
    Element first = skipToWanted(msxml::firstChildOf(parent), name);
    return made(new (std::nothrow) MSDOMXmlElementItrV2(std::move(parent), name, std::move(first)));
}

MSDOMXmlElementItrV2* MSDOMXmlElementItrV2::overChildrenIfAny(const Element& parent,
                                                              std::u16string_view name) {
    Element first = skipToWanted(msxml::firstChildOf(parent), name);
    if (!first) return nullptr;
    return made(new (std::nothrow) MSDOMXmlElementItrV2(parent, name, std::move(first)));
}

MSDOMXmlElementItrV2* MSDOMXmlElementItrV2::overList(NodeList list) {
    // Not yet counted, so it is deleted outright should the first step throw.
    std::unique_ptr<MSDOMXmlElementItrV2> itr(made(new (std::nothrow) MSDOMXmlElementItrV2(std::move(list))));
    itr->first();
    return itr.release();
}

Element MSDOMXmlElementItrV2::listed() const {
    Node node;
    check(list_->get_item(index_, node.receive()), list_);
    return node.as<IXMLDOMElement>();
}

void MSDOMXmlElementItrV2::first() {
    index_ = 0;
    current_ = parent_ ? skipToWanted(msxml::firstChildOf(parent_), name_) : listed();
}

void MSDOMXmlElementItrV2::next() {
    if (!current_) return;
    if (parent_) {
        current_ = skipToWanted(msxml::nextSiblingOf(current_), name_);
    } else {
        ++index_;
        current_ = listed();
    }
}

IKelDOMXmlElement* MSDOMXmlElementItrV2::getElementAs(bool shared) {
    if (shared) return getSharedElement();
    return current_ ? MSDOMXmlElement::create(current_) : nullptr;
}

MSDOMXmlElement* MSDOMXmlElementItrV2::sharedElement() {
    if (!current_) return nullptr;
    if (shared_ && shared_->refCount() == 1) {
        shared_->standOn(current_);
    } else {
        shared_ = MSDOMXmlElement::create(current_);
    }
    return shared_.get();
}

IKelDOMXmlElement* MSDOMXmlElementItrV2::getSharedElement() {
    return sharedElement();
}

IKelDOMXmlElementV2* MSDOMXmlElementItrV2::getElementV2() {
    return sharedElement();
}

// Between the two positions there is no moment in which both hold the element.
IKelDOMXmlElementV2* MSDOMXmlElementItrV2::getElementAndMove() {
    if (!current_) return nullptr;
    if (!shared_ || shared_->KelShared::refCount() != 1) {
        shared_ = MSDOMXmlElement::create({});
        if (!shared_) throw _com_error(E_OUTOFMEMORY);  // null would look like the end
    }
    if (parent_) {
        Element next = skipToWanted(msxml::nextSiblingOf(current_), name_);
        shared_->standOn(std::move(current_));
        current_ = std::move(next);
    } else {
        shared_->standOn(current_);
        next();
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
