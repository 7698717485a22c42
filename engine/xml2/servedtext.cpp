// A tag that spans several lines would move everything after it up, for attributes are written one after
// the other. So the '>' of a tag waits until the next event says on which line it stands, and the missing
// line ends go before the '>', where they mean nothing. In a schema layout and comments mean nothing either:
// libxml2 would make a node of each and remove it again. They are left out there, and their line ends go into
// the next tag.
#include "engine/xml2/servedtext.h"

#include <algorithm>
#include <array>

#include "engine/xml2/uri.h"

namespace engine::xml2 {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

// What a character is written as; empty: as itself.
struct Escapes {
    std::array<std::string_view, 256> inText{};
    std::array<std::string_view, 256> inAttribute{};
};

constexpr Escapes kEscapes = [] {
    Escapes escapes;
    escapes.inText['&'] = "&amp;";
    escapes.inText['<'] = "&lt;";
    escapes.inText['>'] = "&gt;";
    escapes.inText['\r'] = "&#13;";
    escapes.inAttribute = escapes.inText;
    escapes.inAttribute['"'] = "&quot;";
    escapes.inAttribute['\t'] = "&#9;";
    escapes.inAttribute['\n'] = "&#10;";
    return escapes;
}();

}  // namespace

void ServedText::startDocument(const reader::Locator& locator) {
    locator_ = &locator;
    rootBase_ = uri_;
    write(R"(<?xml version="1.0" encoding="UTF-8"?>)");
}

void ServedText::endDocument() {
    arrive();
}

void ServedText::arrive() {
    if (tagOpen_ || depth_ == 0) catchUp();
    if (tagOpen_) out_ += '>';
    tagOpen_ = false;
    if (out_.size() > maxInBytes_) throw TooLong{locator_->position().line};
}

void ServedText::catchUp() {
    const std::uint32_t line = locator_->position().line;
    if (line <= line_) return;
    out_.append(line - line_, '\n');
    line_ = line;
}

void ServedText::write(std::string_view text) {
    line_ += static_cast<std::uint32_t>(std::count(text.begin(), text.end(), '\n'));
    out_ += text;
}

void ServedText::writeEscaped(std::string_view text, bool inAttribute) {
    const auto& escapes = inAttribute ? kEscapes.inAttribute : kEscapes.inText;
    std::size_t written = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view escape = escapes[static_cast<unsigned char>(text[i])];
        if (escape.empty()) continue;
        write(text.substr(written, i - written));
        out_ += escape;
        written = i + 1;
    }
    write(text.substr(written));
}

void ServedText::writeValue(const reader::Attribute& attribute) {
    const reader::Namespaces* namespaces = locator_->namespaces();
    if (inclusions_.rewriter() == nullptr || namespaces == nullptr || attribute.name.starts_with("xml")) {
        return writeEscaped(attribute.value, true);
    }
    const reader::ExpandedName element = namespaces->element();
    const std::string_view local = inclusions_.isOfDialect(element.uri) ? element.local : std::string_view();
    writeEscaped(inclusions_.rewriter()(local, attribute.name, attribute.value), true);
}

void ServedText::findBase(std::span<const reader::Attribute> attributes) {
    for (const reader::Attribute& attribute : attributes) {
        if (attribute.name == "xml:base") rootBase_ = resolved(std::string(attribute.value), uri_);
    }
}

std::size_t ServedText::judgeReference(std::span<const reader::Attribute> attributes) {
    const reader::Namespaces* namespaces = locator_->namespaces();
    if (namespaces == nullptr) return attributes.size();
    const reader::ExpandedName element = namespaces->element();
    const std::string_view wanted = inclusions_.referenceAttribute(element.uri, element.local);
    if (wanted.empty()) return attributes.size();
    std::string base = rootBase_;
    std::size_t found = attributes.size();
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (attributes[i].name == "xml:base") base = resolved(std::string(attributes[i].value), rootBase_);
        if (attributes[i].name == wanted) found = i;
    }
    if (found == attributes.size()) return found;
    const Inclusions::Reference reference{element.uri, element.local, std::string(attributes[found].value),
                                          base,        uri_,          locator_->position().line};
    const Inclusions::Verdict verdict = inclusions_.judge(reference);
    accepted_ = accepted_ && verdict != Inclusions::Verdict::Stop;
    return verdict == Inclusions::Verdict::DropReference ? found : attributes.size();
}

void ServedText::observe(std::span<const reader::Attribute> attributes) const {
    const reader::Namespaces* namespaces = locator_->namespaces();
    if (inclusions_.observer() == nullptr || namespaces == nullptr) return;
    const reader::ExpandedName element = namespaces->element();
    if (inclusions_.isOfDialect(element.uri)) inclusions_.observer()(element.local, attributes);
}

void ServedText::startElement(std::string_view name, std::span<const reader::Attribute> attributes) {
    arrive();
    observe(attributes);
    std::size_t leftOut = attributes.size();
    if (depth_ == 0) findBase(attributes);
    if (depth_ == 1) leftOut = judgeReference(attributes);
    out_ += '<';
    out_ += name;
    catchUp();
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (i == leftOut) continue;
        out_ += ' ';
        out_ += attributes[i].name;
        out_ += "=\"";
        writeValue(attributes[i]);
        out_ += '"';
    }
    tagOpen_ = true;
    ++depth_;
}

void ServedText::endElement(std::string_view name) {
    arrive();
    out_ += "</";
    out_ += name;
    catchUp();
    tagOpen_ = true;
    --depth_;
}

void ServedText::characters(std::string_view text) {
    arrive();
    if (dropsLayout_ && text.find_first_not_of(kSpace) == text.npos) return;
    writeEscaped(text, false);
}

void ServedText::comment(std::string_view text) {
    arrive();
    if (dropsLayout_) return;
    out_ += "<!--";
    write(text);
    out_ += "-->";
}

void ServedText::processingInstruction(std::string_view target, std::string_view data) {
    arrive();
    out_ += "<?";
    out_ += target;
    if (!data.empty()) out_ += ' ';
    write(data);
    out_ += "?>";
}

}  // namespace engine::xml2
