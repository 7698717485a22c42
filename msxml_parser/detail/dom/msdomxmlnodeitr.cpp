#include "msxml_parser/detail/dom/msdomxmlnodeitr.h"

#include <memory>
#include <new>
#include <string>
#include <utility>

#include "msxml_parser/detail/dom/msdomxmlelement.h"
#include "msxml_parser/detail/text.h"

using msxml::assign;
using msxml::BStr;
using msxml::check;
using msxml::Node;

namespace {

bool isText(const Node& node) {
    const DOMNodeType kind = msxml::typeOf(node);
    return kind == NODE_TEXT || kind == NODE_CDATA_SECTION;
}

// To an expression, texts beside each other are one node, which the first of them represents.
std::u16string joinedText(const Node& first) {
    std::u16string joined;
    for (Node node = first; node && isText(node); node = msxml::nextSiblingOf(node)) {
        BStr text;
        check(node->get_text(text.receive()), node);
        joined += text.view();
    }
    return joined;
}

}  // namespace

MSDOMXmlNodeItr::MSDOMXmlNodeItr(NodeList list) noexcept : list_(std::move(list)) {}

MSDOMXmlNodeItr* MSDOMXmlNodeItr::create(NodeList list) {
    // Not yet counted, so it is deleted outright should the first step throw.
    std::unique_ptr<MSDOMXmlNodeItr> itr(new (std::nothrow) MSDOMXmlNodeItr(std::move(list)));
    if (itr == nullptr) throw _com_error(E_OUTOFMEMORY);
    itr->first();
    return itr.release();
}

void MSDOMXmlNodeItr::moveTo(LONG index) {
    Node node;
    check(list_->get_item(index, node.receive()), list_);
    kind_ = node ? msxml::typeOf(node) : NODE_INVALID;
    current_ = std::move(node);
    index_ = index;
}

void MSDOMXmlNodeItr::first() {
    moveTo(0);
}

void MSDOMXmlNodeItr::next() {
    if (current_) moveTo(index_ + 1);
}

int MSDOMXmlNodeItr::getKind() {
    return kind_;
}

KelString& MSDOMXmlNodeItr::getName(KelString& out) {
    BStr name;
    if (kind_ == NODE_ELEMENT || kind_ == NODE_ATTRIBUTE || kind_ == NODE_PROCESSING_INSTRUCTION)
        check(current_->get_nodeName(name.receive()), current_);
    assign(out, name.view());
    return out;
}

KelString& MSDOMXmlNodeItr::getValue(KelString& out) {
    BStr text;
    if (kind_ == NODE_TEXT || kind_ == NODE_CDATA_SECTION) {
        assign(out, joinedText(current_));
        return out;
    }
    if (current_) check(current_->get_text(text.receive()), current_);
    assign(out, text.view());
    return out;
}

IKelDOMXmlElementV2* MSDOMXmlNodeItr::getElement() {
    if (kind_ != NODE_ELEMENT) return nullptr;
    MSDOMXmlElement* const element = MSDOMXmlElement::create(current_.as<IXMLDOMElement>());
    if (element == nullptr) throw _com_error(E_OUTOFMEMORY);  // null would look like another kind
    return element;
}
