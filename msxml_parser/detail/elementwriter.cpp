// The writer walks with a stack of its own, so depth costs memory and never call stack. What an open element
// needs again for its end tag stands in shared buffers that grow and shrink with the depth: its escaped name
// in names_, its indentation as a beginning of indent_. Every unit of output is appended once, and each
// element's children are looked at twice at most (once for the first text and the first element among them,
// once to write them), so the cost is linear in tree and output.
#include "msxml_parser/detail/elementwriter.h"

#include <utility>

#include "msxml_parser/detail/bstr.h"

namespace msxml {
namespace {

constexpr std::size_t kFlushLength = 512;  // in units; the file gets a chunk when more have gathered
constexpr std::size_t kHandOverLength =
    4096;  // likewise for the output string; small enough to stay in the cache

struct Content {
    bool hasText = false;  // the first text node is not empty
    Node firstElement;
};

Content lookAtContent(const Node& element) {
    Content content;
    bool textSeen = false;
    for (Node child = firstChildOf(element); child && !(textSeen && content.firstElement);
         child = nextSiblingOf(child)) {
        const DOMNodeType type = typeOf(child);
        if (type == NODE_ELEMENT) {
            if (!content.firstElement) content.firstElement = child;
        } else if (type == NODE_TEXT && !textSeen) {
            BStr text;
            check(child->get_text(text.receive()), child);
            textSeen = true;
            content.hasText = !text.view().empty();
        }
    }
    return content;
}

}  // namespace

ElementWriter::ElementWriter(const WriterOptions& options, KelString& out)
    : options_(options), out_(out), indent_(options.indent) {
    if (options_.file == nullptr) return;
    buffer_ = out_.view();
    out_.makeEmpty();
}

void ElementWriter::write(const Node& root) {
    try {
        writeTree(root);
    } catch (...) {
        handOver();
        throw;
    }
    handOver();
}

void ElementWriter::writeTree(const Node& root) {
    openElement(root);
    while (!open_.empty()) {
        OpenElement& parent = open_.back();
        if (!parent.nextChild) {
            closeElement();
            continue;
        }
        const Node child = parent.nextChild;
        parent.nextChild = skipToElement(nextSiblingOf(child));
        openElement(child);
    }
}

// Writes the element's line up to its child elements; without any, the whole element.
void ElementWriter::openElement(const Node& element) {
    const std::size_t depth = open_.size();
    buffer_ += indent_;

    BStr name;
    check(element->get_nodeName(name.receive()), element);
    const std::size_t nameStart = names_.size();
    names_ += name.view();
    escaper_.escapeTail(names_, nameStart);
    buffer_ += u'<';
    buffer_.append(names_, nameStart);
    appendAttributes(element);

    Content content = lookAtContent(element);
    if (!content.hasText && !content.firstElement) {
        buffer_ += u" />";
        names_.resize(nameStart);
        endLine(depth);
        return;
    }
    buffer_ += u'>';
    if (content.hasText) {
        // Kept: the text of the whole subtree, which the child elements write again. See behaviour.md, "Mixed
        // content".
        BStr text;
        check(element->get_text(text.receive()), element);
        const std::size_t textStart = buffer_.size();
        buffer_ += text.view();
        escaper_.escapeTail(buffer_, textStart);
    }
    if (!content.firstElement) {
        appendEndTag(nameStart);
        endLine(depth);
        return;
    }
    buffer_ += lineEnd();
    open_.push_back({std::move(content.firstElement), nameStart, indent_.size()});
    indent_ += options_.indentUnit;
}

void ElementWriter::closeElement() {
    const OpenElement element = std::move(open_.back());
    open_.pop_back();
    indent_.resize(element.indentLength);
    buffer_ += indent_;
    appendEndTag(element.nameStart);
    endLine(open_.size());
}

void ElementWriter::appendAttributes(const Node& element) {
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    check(element->get_attributes(attributes.receive()), element);
    LONG count = 0;
    check(attributes->get_length(&count), attributes);
    for (LONG index = 0; index < count; ++index) {
        Node attribute;
        check(attributes->get_item(index, attribute.receive()), attributes);
        if (typeOf(attribute) != NODE_ATTRIBUTE) continue;
        Variant value;
        BStr name;
        check(attribute->get_nodeValue(value.receive()), attribute);
        check(attribute->get_nodeName(name.receive()), attribute);
        buffer_ += u' ';
        buffer_ += name.view();
        buffer_ += u"=\"";
        const std::size_t valueStart = buffer_.size();
        buffer_ += value.text();
        escaper_.escapeTail(buffer_, valueStart);
        buffer_ += u'"';
    }
}

void ElementWriter::appendEndTag(std::size_t nameStart) {
    buffer_ += u"</";
    buffer_.append(names_, nameStart);
    buffer_ += u'>';
    names_.resize(nameStart);
}

void ElementWriter::endLine(std::size_t depth) {
    buffer_ += lineEnd();
    if (options_.file == nullptr) {
        if (buffer_.size() > kHandOverLength) handOver();
    } else if (depth == 0 || buffer_.size() > kFlushLength) {
        writeToFile();
    }
}

// Write errors are not reported: the caller learns them from the file, if at all.
void ElementWriter::writeToFile() {
    if (options_.wide) {
        (void)std::fwrite(buffer_.data(), sizeof(char16_t), buffer_.size(), options_.file);
    } else {
        chunk_.assign(std::u16string_view(buffer_));
        (void)std::fputs(chunk_.narrow(), options_.file);
    }
    buffer_.clear();
}

void ElementWriter::handOver() {
    out_.append(std::u16string_view(buffer_));
    buffer_.clear();
}

}  // namespace msxml
