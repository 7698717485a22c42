// Validates a document event by event, without a tree: libxml2's streaming validator behind our own reader's
// events. What it finds is what validation of a tree finds, but for a value of type xs:ID that occurs twice,
// which the streaming validator does not look for: where that may be, a doubt is reported, once. Threads: as
// the reader.
#pragma once

#include <libxml/xmlschemas.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "engine/reader/events.h"
#include "engine/reader/schemastream.h"
#include "engine/schema/elementpath.h"
#include "engine/schema/schemaset.h"
#include "engine/xml2/errors.h"

namespace engine::schema {

// Texts that live as long as the element that was open when they were put in. They never move.
class ElementTexts final {
public:
    // Zero-terminated.
    [[nodiscard]] const xmlChar* copy(std::string_view text);
    struct Mark {
        std::size_t block = 0;
        std::size_t used = 0;
    };
    [[nodiscard]] Mark mark() const noexcept { return at_; }
    void release(Mark mark) noexcept { at_ = mark; }

private:
    struct Block {
        std::unique_ptr<char[]> bytes;
        std::size_t size;
    };
    std::vector<Block> blocks_;
    Mark at_;
};

class StreamValidator final : public reader::EventSink {
public:
    // Shares the schemas.
    StreamValidator(std::shared_ptr<const SchemaSet> schemas, reader::ViolationReport report);
    ~StreamValidator() override;
    StreamValidator(const StreamValidator&) = delete;
    StreamValidator& operator=(const StreamValidator&) = delete;

    void startDocument(const reader::Locator& locator) override;
    void endDocument() override;
    // The attributes are the locator's.
    void startElement(std::string_view name, std::span<const reader::Attribute> attributes) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override { text_ += text; }
    void startCData() override {}
    void endCData() override {}
    void comment(std::string_view) override {}
    void processingInstruction(std::string_view, std::string_view) override {}

private:
    struct Open {
        const xmlChar* local;
        const xmlChar* prefix;
        const xmlChar* uri;
        ElementTexts::Mark texts;  // before it
        source::Position position;
    };
    template <typename Call>
    void validate(source::Position position, Call&& call);
    void deliverText();
    void putAttributes(const reader::Namespaces& names);
    void watchId(std::string_view local, std::string_view value);
    void doubt();
    [[nodiscard]] const xmlChar* orNull(std::string_view text) {
        return text.empty() ? nullptr : texts_.copy(text);
    }
    static void listen(void* self, xml2::ErrorPointer error) noexcept;

    std::shared_ptr<const SchemaSet> schemas_;
    reader::ViolationReport report_;
    const reader::Locator* locator_ = nullptr;

    std::unique_ptr<xmlSchemaValidCtxt, xml2::FreeBy<xmlSchemaFreeValidCtxt>> validator_;
    xmlSchemaSAXPlugPtr plug_ = nullptr;
    xmlSAXHandlerPtr events_ = nullptr;  // the plug's
    void* user_ = nullptr;               // likewise

    ElementTexts texts_;
    ElementPath path_;
    std::vector<Open> open_;
    std::size_t entered_ = 0;  // of these, those that libxml2 has entered and not left
    std::string text_;  // since the last tag: the validator takes long texts piece by piece at a high cost
    std::vector<const xmlChar*> declared_;
    std::vector<const xmlChar*> attributes_;
    std::vector<std::string> escaped_;
    std::unordered_set<std::size_t> ids_;  // hashes of values that may be of type xs:ID
    bool isInDoubt_ = false;

    struct Found {
        int code;
        std::string reason;
    };
    std::vector<Found> found_;  // by the call that is going on
    bool isOutOfMemory_ = false;
    bool hasFailed_ = false;
};

}  // namespace engine::schema
