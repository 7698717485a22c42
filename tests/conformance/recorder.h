// The reader's events in canonical form. Threads: one.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "engine/reader/reader.h"
#include "tests/conformance/canonical.h"
#include "tests/conformance/subject.h"

namespace conformance {

// Writes the events twice: whole, and as a SAX content handler gets them.
class Recorder final : public engine::reader::EventSink {
public:
    [[nodiscard]] const CanonicalWriter& whole() const { return whole_; }
    [[nodiscard]] const CanonicalWriter& asHandler() const { return asHandler_; }

    void startDocument(const engine::reader::Locator& locator) override { locator_ = &locator; }
    void endDocument() override {}
    void startElement(std::string_view name, std::span<const engine::reader::Attribute> attributes) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void startCData() override {}
    void endCData() override {}
    void comment(std::string_view) override {}
    void processingInstruction(std::string_view target, std::string_view data) override;

private:
    const engine::reader::Locator* locator_ = nullptr;
    CanonicalWriter whole_;
    CanonicalWriter asHandler_;
};

// Internal entities are expanded, external ones are left out.
[[nodiscard]] Outcome readInto(Recorder& events, const engine::source::Input& input,
                               engine::reader::ReadOptions::Parser parser);

}  // namespace conformance
