// Writes the events of a reader down as text, one a line, so that two readings can be compared.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "engine/reader/reader.h"

namespace engine::reader::test {

// Text that comes in pieces is one line; pieces must never be empty or split a character.
class EventLog final : public EventSink {
public:
    void startDocument(const Locator& locator) override {
        locator_ = &locator;
        add("start document");
    }
    void endDocument() override { add("end document"); }
    void startElement(std::string_view name, std::span<const Attribute> attributes) override {
        std::string line = "<" + std::string(name);
        for (std::size_t i = 0; i < attributes.size(); ++i) {
            line += " " + std::string(attributes[i].name) + "=[" + std::string(attributes[i].value) + "]";
            line += expanded(locator_->namespaces()->attribute(i), attributes[i].name);
        }
        add(line + expanded(locator_->namespaces()->element(), name));
    }
    void endElement(std::string_view name) override {
        add("</" + std::string(name) + expanded(locator_->namespaces()->element(), name));
    }
    void characters(std::string_view text) override {
        if (text.empty() || (static_cast<unsigned char>(text.front()) & 0xC0) == 0x80) add("BAD SPLIT");
        text_ += text;
    }
    void startCData() override { add("start cdata"); }
    void endCData() override { add("end cdata"); }
    void comment(std::string_view text) override { add("comment [" + std::string(text) + "]"); }
    void processingInstruction(std::string_view target, std::string_view data) override {
        add("pi " + std::string(target) + " [" + std::string(data) + "]");
    }

    [[nodiscard]] const std::string& text() {
        flush();
        return log_;
    }
    // Without the text at the end.
    [[nodiscard]] const std::string& finished() const { return log_; }
    bool withPositions = false;

private:
    void add(const std::string& line) {
        flush();
        log_ += line;
        if (withPositions) {
            const Position at = locator_->position();
            log_ += " @" + std::to_string(at.line) + ":" + std::to_string(at.column);
        }
        log_ += '\n';
    }
    void flush() {
        if (!text_.empty()) log_ += "text [" + text_ + "]\n";
        text_.clear();
    }
    static std::string expanded(const ExpandedName& name, std::string_view written) {
        std::string joined(name.prefix);
        if (!joined.empty()) joined += ':';
        joined += name.local;
        if (joined != written) return " BAD NAME " + joined;
        return name.uri.empty() ? "" : "{" + std::string(name.uri) + "}";
    }

    const Locator* locator_ = nullptr;
    std::string text_;
    std::string log_;
};

struct Reading {
    std::string events;
    std::string finishedEvents;  // without a text at the end, which an error may have cut short
    ParseError error;
};

inline Reading readAll(const Input& input, const ReadOptions& options = {}) {
    EventLog log;
    Reading reading;
    reading.error = read(input, options, log);
    reading.finishedEvents = log.finished();
    reading.events = log.text();
    return reading;
}

}  // namespace engine::reader::test
