// The writer walks with a stack of its own, so depth costs memory and never call stack. What an open element
// needs again for its end tag stands in shared buffers that grow and shrink with the depth: its escaped name
// in names_, its indentation as a beginning of indent_. Every unit of output is appended once, and each
// element's children are looked at twice at most (once for the first text and the first element among them,
// once to write them), so the cost is linear in tree and output.
#include "msxml_parser/detail/dom/elementwriter.h"

#include <algorithm>
#include <utility>

#include "KelBasicTypes/detail/lanes.h"
#include "KelBasicTypes/ikelstrsupport.h"
#include "KelBasicTypes/stringsupport.h"
#include "msxml_parser/detail/text.h"

namespace msxml {
namespace {

constexpr std::size_t kChunkLength = 512;  // in units; the file gets a chunk when more have gathered
constexpr std::size_t kFlushLength =
    4096;  // likewise for the output string; small enough to stay in the cache

// A text that is this long does not go through the buffer on its way to the output string.
constexpr std::size_t kLongText = 1 << 16;
constexpr char16_t kFirstNonAscii = 128;

struct Content {
    BStr text;                 // of the first text node
    bool textIsWhole = false;  // there is no other child
    Element firstElement;
};

Content lookAtContent(const Element& element) {
    Content content;
    bool textSeen = false;
    bool isFirst = true;
    Node child = firstChildOf(element);
    while (child && !(textSeen && content.firstElement)) {
        const DOMNodeType type = typeOf(child);
        Node next = nextSiblingOf(child);
        if (type == NODE_TEXT && !textSeen) {
            check(child->get_text(content.text.receive()), child);
            content.textIsWhole = isFirst && !next;
            textSeen = true;
        } else if (type == NODE_ELEMENT && !content.firstElement) {
            content.firstElement = child.as<IXMLDOMElement>();
        }
        child = std::move(next);
        isFirst = false;
    }
    return content;
}

// How many units at the start of the text are ASCII.
std::size_t asciiLength(std::u16string_view text) noexcept {
    constexpr std::size_t kAtOnce = 4;
    std::size_t at = 0;
    while (at + kAtOnce <= text.size() && kel::detail::isAscii(kel::detail::loadLanes(text.data() + at)))
        at += kAtOnce;
    while (at < text.size() && text[at] < kFirstNonAscii) ++at;
    return at;
}

// The units that are ASCII, in `out`; the others are dropped. What a string does without string support, in
// one pass.
std::string_view keepAscii(std::u16string_view text, std::string& out) {
    if (out.size() < text.size()) out.resize(text.size());
    char* to = out.data();
    while (!text.empty()) {
        const std::size_t length = asciiLength(text);
        for (std::size_t i = 0; i < length; ++i) to[i] = static_cast<char>(text[i]);
        to += length;
        text.remove_prefix(length);
        while (!text.empty() && text.front() >= kFirstNonAscii) text.remove_prefix(1);
    }
    return {out.data(), static_cast<std::size_t>(to - out.data())};
}

}  // namespace

ElementWriter::ElementWriter(const WriterOptions& options, KelString& out)
    : options_(options), out_(out), indent_(options.indent) {
    if (options_.file == nullptr) return;
    buffer_.append(out_.view());
    out_.makeEmpty();
}

void ElementWriter::write(const Element& root) {
    try {
        writeTree(root);
    } catch (...) {
        flush();
        throw;
    }
    flush();
}

void ElementWriter::writeTree(const Element& root) {
    openElement(root);
    while (!open_.empty()) {
        OpenElement& parent = open_.back();
        if (!parent.nextChild) {
            closeElement();
            continue;
        }
        const Element child = std::move(parent.nextChild);
        parent.nextChild = skipToElement(nextSiblingOf(child));
        openElement(child);
    }
}

// Writes the element's line up to its child elements; without any, the whole element.
void ElementWriter::openElement(const Element& element) {
    const std::size_t depth = open_.size();
    buffer_.append(indent_);

    BStr name;
    check(element->get_nodeName(name.receive()), element);
    const std::size_t nameStart = names_.size();
    names_.append(escaper_.escape(name.view()));
    buffer_.append(u'<');
    buffer_.append(names_.view().substr(nameStart));
    appendAttributes(element);

    Content content = lookAtContent(element);
    const bool hasText = !content.text.view().empty();
    if (!hasText && !content.firstElement) {
        buffer_.append(u" />");
        names_.truncate(nameStart);
        endLine(depth);
        return;
    }
    buffer_.append(u'>');
    if (hasText) {
        // Intentional: the text of the whole subtree, which the child elements write again. See behaviour.md,
        // "Mixed content".
        if (!content.textIsWhole) check(element->get_text(content.text.receive()), element);
        appendEscaped(content.text.view());
    }
    if (!content.firstElement) {
        appendEndTag(nameStart);
        endLine(depth);
        return;
    }
    buffer_.append(lineEnd());
    // A file gets text at the ends of elements only; a string may have it now.
    if (options_.file == nullptr) flushIfLong();
    open_.push_back({std::move(content.firstElement), nameStart, indent_.size()});
    indent_ += options_.indentUnit;
}

void ElementWriter::closeElement() {
    const std::size_t nameStart = open_.back().nameStart;
    indent_.resize(open_.back().indentLength);
    open_.pop_back();
    buffer_.append(indent_);
    appendEndTag(nameStart);
    endLine(open_.size());
}

void ElementWriter::appendAttributes(const Element& element) {
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
        buffer_.append(u' ');
        buffer_.append(name.view());
        buffer_.append(u"=\"");
        appendEscaped(value.text());
        buffer_.append(u'"');
    }
}

void ElementWriter::appendEscaped(std::u16string_view text) {
    const std::u16string_view escaped = escaper_.escape(text);
    if (options_.file != nullptr || escaped.size() < kLongText) return buffer_.append(escaped);
    flush();
    out_.append(escaped);
}

void ElementWriter::appendEndTag(std::size_t nameStart) {
    buffer_.append(u"</");
    buffer_.append(names_.view().substr(nameStart));
    buffer_.append(u'>');
    names_.truncate(nameStart);
}

void ElementWriter::endLine(std::size_t depth) {
    buffer_.append(lineEnd());
    if (options_.file == nullptr) {
        flushIfLong();
    } else if (depth == 0 || buffer_.size() > kChunkLength) {
        writeToFile();
    }
}

// Write errors are not reported: the caller learns them from the file, if at all.
void ElementWriter::writeToFile() {
    if (options_.wide) {
        (void)std::fwrite(buffer_.view().data(), sizeof(char16_t), buffer_.size(), options_.file);
    } else {
        writeNarrow();
    }
    buffer_.clear();
}

// As a string of the library makes its 8-bit form, straight from the buffer.
void ElementWriter::writeNarrow() {
    IKelStrSupport* const support = kel::stringSupport();
    const std::string_view narrow = support != nullptr ? support->toNarrow(buffer_.c_str(), narrow_).c_str()
                                                       : keepAscii(buffer_.view(), narrow_);
    (void)std::fwrite(narrow.data(), 1, narrow.size(), options_.file);
}

void ElementWriter::flushIfLong() {
    if (buffer_.size() > kFlushLength) flush();
}

void ElementWriter::flush() {
    // The engine's texts hold no NUL, so that none has to be looked for.
    const std::u16string_view text = buffer_.view();
    if (text.size() < kLongText) {
        chunk_.overwrite(text.size(), [&](char16_t* to) { std::copy(text.begin(), text.end(), to); });
        out_.append(chunk_);
    } else {
        out_.append(text);
    }
    buffer_.clear();
}

}  // namespace msxml
