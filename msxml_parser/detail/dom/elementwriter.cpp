// The writer walks with a stack of its own, so depth costs memory and never call stack. Every unit of output
// is appended once, and each element's children are looked at twice at most: once for the first text and the
// first element among them, once to write them; of those without text the first few are kept from the one
// time to the other. So the cost is linear in tree and output.
#include "msxml_parser/detail/dom/elementwriter.h"

#include <algorithm>
#include <utility>

#include "KelBasicTypes/detail/lanes.h"
#include "KelBasicTypes/ikelstrsupport.h"
#include "KelBasicTypes/stringsupport.h"

namespace msxml {
namespace {

constexpr std::size_t kChunkLength = 512;  // in units; the file gets a chunk when more have gathered
constexpr std::size_t kFlushLength =
    4096;  // likewise for the output string; small enough to stay in the cache

// A text that is this long does not go through the buffer on its way to the output string.
constexpr std::size_t kLongText = 1 << 16;
constexpr char16_t kFirstNonAscii = 128;

// How many child elements of one element are kept while its text is looked for: all that most have.
constexpr std::size_t kMostAhead = 8;

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
    : options_(options), lineEnd_(options.wide ? u"\r\n" : u"\n"), out_(out), indent_(options.indent) {
    if (options_.file == nullptr) return;
    buffer_.append(out_.view());
    out_.makeEmpty();
}

void ElementWriter::write(const Node& root) {
    try {
        writeTree(root);
    } catch (...) {
        flush();
        throw;
    }
    flush();
}

void ElementWriter::writeTree(const Node& root) {
    openElement(root);
    while (!open_.empty()) {
        if (open_.back().nextAhead == ahead_.size()) {
            closeElement();
        } else {
            openElement(takeChild());
        }
    }
}

// The next child of the innermost open element; the one after it is ahead then, if there is one.
Node ElementWriter::takeChild() {
    OpenElement& parent = open_.back();
    Node child = std::move(ahead_[parent.nextAhead++]);
    if (parent.nextAhead == ahead_.size() && !parent.isAllAhead) {
        Node next = skipToElementNode(nextSiblingOf(child));
        if (next) ahead_[--parent.nextAhead] = std::move(next);
    }
    return child;
}

// Writes the element's line up to its child elements; without any, the whole element.
void ElementWriter::openElement(const Node& element) {
    const std::size_t depth = open_.size();
    buffer_.append(indent_);

    BStr name;
    check(element->get_nodeName(name.receive()), element);
    buffer_.append(u'<');
    appendEscaped(name.view());
    appendAttributes(element);

    const std::size_t aheadStart = ahead_.size();
    Content content = lookAtContent(element);
    const bool hasText = !content.text.view().empty();
    const bool hasElements = ahead_.size() > aheadStart;
    if (!hasText && !hasElements) {
        buffer_.append(u" />");
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
    if (!hasElements) {
        appendEndTag(name);
        endLine(depth);
        return;
    }
    buffer_.append(lineEnd_);
    // A file gets text at the ends of elements only; a string may have it now.
    if (options_.file == nullptr) flushIfLong();
    open_.push_back({std::move(name), aheadStart, aheadStart, content.isAllAhead, indent_.size()});
    indent_ += options_.indentUnit;
}

// The text of the first text node; appends the first child elements to ahead_, among them the very first.
ElementWriter::Content ElementWriter::lookAtContent(const Node& element) {
    Content content;
    const std::size_t start = ahead_.size();
    bool textSeen = false;
    bool isFirst = true;
    bool isPassed = false;  // is there a child element that is not kept?
    Node child = firstChildOf(element);
    while (child && !(textSeen && ahead_.size() > start)) {
        const DOMNodeType type = typeOf(child);
        Node next = nextSiblingOf(child);
        if (type == NODE_TEXT && !textSeen) {
            check(child->get_text(content.text.receive()), child);
            content.textIsWhole = isFirst && !next;
            textSeen = true;
        } else if (type == NODE_ELEMENT) {
            isPassed = ahead_.size() - start == kMostAhead;
            if (!isPassed) ahead_.push_back(std::move(child));
        }
        child = std::move(next);
        isFirst = false;
    }
    content.isAllAhead = !child && !isPassed;
    return content;
}

void ElementWriter::closeElement() {
    const OpenElement element = std::move(open_.back());
    open_.pop_back();
    ahead_.resize(element.aheadStart);
    indent_.resize(element.indentLength);
    buffer_.append(indent_);
    appendEndTag(element.name);
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
        buffer_.append(u' ', name.view(), u"=\"");
        appendEscaped(value.text());
        buffer_.append(u'"');
    }
}

void ElementWriter::appendEscaped(std::u16string_view text) {
    if (options_.file == nullptr && text.size() >= kLongText) {
        flush();
        out_.append(escaper_.escape(text));
        return;
    }
    if (const char16_t* const end = XmlEscaper::copyPlain(text, buffer_.room(text.size()))) {
        buffer_.endAt(end);
    } else {
        buffer_.append(escaper_.escape(text));
    }
}

void ElementWriter::appendEndTag(const BStr& name) {
    buffer_.append(u"</");
    appendEscaped(name.view());
    buffer_.append(u'>');
}

void ElementWriter::endLine(std::size_t depth) {
    buffer_.append(lineEnd_);
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
    out_.extend(text.size(), [&](char16_t* to) { std::copy(text.begin(), text.end(), to); });
    buffer_.clear();
}

}  // namespace msxml
