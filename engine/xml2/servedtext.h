// A document as UTF-8 text that needs nothing from outside: no DOCTYPE, entities expanded, every element and
// text on the line where it stood in the file. Threads: as the reader that delivers the events.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/reader/events.h"
#include "engine/xml2/inclusions.h"

namespace engine::xml2 {

class ServedText final : public reader::EventSink {
public:
    // Borrows `inclusions`, which judges every reference to a further file.
    ServedText(Inclusions& inclusions, std::string uri) : inclusions_(inclusions), uri_(std::move(uri)) {}

    // Thrown by an event when the text has become longer than the inclusions allow.
    struct TooLong {
        std::uint32_t line;
    };

    // False: a reference was rejected and its cause added.
    [[nodiscard]] bool accepted() const noexcept { return accepted_; }
    [[nodiscard]] std::string takeText() noexcept { return std::move(out_); }

    void startDocument(const reader::Locator& locator) override;
    void endDocument() override;
    void startElement(std::string_view name, std::span<const reader::Attribute> attributes) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void startCData() override {}
    void endCData() override {}
    void comment(std::string_view text) override;
    void processingInstruction(std::string_view target, std::string_view data) override;

private:
    void arrive();
    void catchUp();
    void write(std::string_view text);
    void writeValue(const reader::Attribute& attribute);
    void writeEscaped(std::string_view text, bool inAttribute);
    // The index of the attribute to leave out, or the number of attributes.
    std::size_t judgeReference(std::span<const reader::Attribute> attributes);
    void findBase(std::span<const reader::Attribute> attributes);
    void observe(std::span<const reader::Attribute> attributes) const;

    Inclusions& inclusions_;
    bool dropsLayout_ = inclusions_.dialect() == Dialect::Schema;
    std::string uri_;
    const reader::Locator* locator_ = nullptr;
    std::string out_;
    std::size_t maxInBytes_ = inclusions_.textLeftInBytes();
    std::uint32_t line_ = 1;  // of the end of out_
    std::uint32_t depth_ = 0;
    std::string rootBase_;
    bool tagOpen_ = false;  // its '>' is still to come
    bool accepted_ = true;
};

}  // namespace engine::xml2
