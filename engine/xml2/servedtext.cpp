// A tag that spans several lines would move everything after it up, for attributes are written one after
// the other. So the '>' of a tag waits until the next event says on which line it stands, and the missing
// line ends go before the '>', where they mean nothing.
#include "engine/xml2/servedtext.h"

#include "engine/xml2/uri.h"

namespace engine::xml2 {

void ServedText::startDocument(const reader::Locator& locator) {
    locator_ = &locator;
    rootBase_ = uri_;
    write(R"(<?xml version="1.0" encoding="UTF-8"?>)");
}

void ServedText::endDocument() {
    arrive();
}

void ServedText::arrive() {
    if (tagOpen_ || depth_ == 0) {
        const std::uint32_t line = locator_->position().line;
        if (line > line_) {
            out_.append(line - line_, '\n');
            line_ = line;
        }
    }
    if (tagOpen_) out_ += '>';
    tagOpen_ = false;
    if (out_.size() > maxInBytes_) throw TooLong{locator_->position().line};
}

void ServedText::write(std::string_view text) {
    for (const char c : text) line_ += c == '\n';
    out_ += text;
}

void ServedText::writeEscaped(std::string_view text, bool inAttribute) {
    for (const char c : text) {
        switch (c) {
            case '&':
                out_ += "&amp;";
                break;
            case '<':
                out_ += "&lt;";
                break;
            case '>':
                out_ += "&gt;";
                break;
            case '"':
                out_ += inAttribute ? "&quot;" : "\"";
                break;
            case '\r':
                out_ += "&#13;";
                break;
            case '\t':
                out_ += inAttribute ? "&#9;" : "\t";
                break;
            case '\n':
                out_ += inAttribute ? "&#10;" : "\n";
                line_ += !inAttribute;
                break;
            default:
                out_ += c;
        }
    }
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
    tagOpen_ = true;
    --depth_;
}

void ServedText::characters(std::string_view text) {
    arrive();
    writeEscaped(text, false);
}

void ServedText::comment(std::string_view text) {
    arrive();
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
