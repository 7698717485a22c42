#include "msxml_parser/detail/dom/msdomxmlelementitr.h"

#include <memory>
#include <new>
#include <utility>

MSDOMXmlElementItr::MSDOMXmlElementItr(msxml::Node parent) noexcept : parent_(std::move(parent)) {}

MSDOMXmlElementItr* MSDOMXmlElementItr::create(msxml::Node parent) {
    // Not yet counted, so it is deleted outright should the first step throw.
    std::unique_ptr<MSDOMXmlElementItr> itr(new (std::nothrow) MSDOMXmlElementItr(std::move(parent)));
    if (itr) itr->first();
    return itr.release();
}

void MSDOMXmlElementItr::first() {
    current_ = parent_ ? msxml::skipToElement(msxml::firstChildOf(parent_)) : msxml::Element();
}

void MSDOMXmlElementItr::next() {
    if (current_) current_ = msxml::skipToElement(msxml::nextSiblingOf(current_));
}

IKelDOMXmlElement* MSDOMXmlElementItr::getElementAs(bool shared) {
    if (shared) return getSharedElement();
    return current_ ? MSDOMXmlElement::create(current_) : nullptr;
}

IKelDOMXmlElement* MSDOMXmlElementItr::getSharedElement() {
    if (!current_) return nullptr;
    if (shared_) {
        shared_->standOn(current_);
    } else {
        shared_ = MSDOMXmlElement::create(current_);
    }
    return shared_.get();
}
