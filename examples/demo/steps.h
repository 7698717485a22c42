// The steps of the demo. Each says what it does; each that can fail returns whether it succeeded.
#pragma once

#include <filesystem>
#include <string>

#include "host/host.h"
#include "story.h"

namespace demo {

// What the steps share.
struct Stage {
    kelhost::Host& host;
    kelhost::Component component;
    std::filesystem::path document;
    std::filesystem::path examples;  // where style sheet and schema stand
    std::filesystem::path results;

    [[nodiscard]] Parser makeParser() const { return component.create<IKelDOMXmlV2>("MSDOMXml"); }
};

[[nodiscard]] bool load(IKelDOMXmlV2& parser, const std::filesystem::path& file);
void outline(IKelDOMXmlV2& parser);
void edit(IKelDOMXmlV2& parser);
[[nodiscard]] bool saveAndCompare(const Stage& stage, IKelDOMXmlV2& parser,
                                  const std::filesystem::path& saved);
// Looks for a schema that the document names or that comes with the demo; without one it says so.
[[nodiscard]] bool validate(const Stage& stage, const std::filesystem::path& file);
[[nodiscard]] bool report(const Stage& stage, IKelDOMXmlV2& parser);
[[nodiscard]] bool stream(const Stage& stage, const std::filesystem::path& file);
// `content` is a well-formed document in UTF-8 of which malformed variants are made.
void reject(const Stage& stage, const std::string& content);
// Why a document was rejected, in several languages.
void explain(const Stage& stage, const std::filesystem::path& file);

}  // namespace demo
