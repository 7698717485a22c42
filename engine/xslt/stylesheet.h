// A compiled style sheet, and what comes out of running it. Threads: on one thread at a time.
#pragma once

#include <libxslt/xsltInternals.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "engine/dom/services.h"
#include "engine/xml2/handles.h"
#include "engine/xml2/inclusions.h"
#include "engine/xslt/meter.h"
#include "engine/xslt/steps.h"

namespace engine::xslt {

using StyleHandle = std::unique_ptr<xsltStylesheet, xml2::FreeBy<xsltFreeStylesheet>>;

// A value for a parameter of the style sheet.
struct Parameter {
    std::string name;  // local, or "{namespace}local"
    std::variant<std::string, double, bool> value;
};

// What a style sheet has to say.
struct Report {
    enum class Kind : std::uint8_t { Message, LastMessage, Warning };
    Kind kind;
    std::string text;
};

// How one transformation runs.
struct RunOptions {
    enum class Result : std::uint8_t {
        Text,
        Bytes
    };  // in UTF-16, or in the encoding that the style sheet asks for
    Result result = Result::Text;
    std::span<const Parameter> parameters{};
    std::vector<Report>* reports =
        nullptr;  // gets them, also when the transformation fails; null: they are dropped
};

// What all operations below have in common: they throw com::Exception with every cause on a line of its own.
class StyleSheet final {
public:
    // `source` is the style sheet, the document or an element, simplified ones included. Its tree and its
    // address are needed afterwards for `document('')`: they must not have changed when `transform` is
    // called.
    explicit StyleSheet(const dom::NodeSource& source);

    // Files that may change come after it.
    [[nodiscard]] bool hasParts() const noexcept { return inclusions_.hasFiles(); }

    // What compiling it passed over.
    [[nodiscard]] const std::vector<Report>& warnings() const noexcept { return warnings_; }

    // The result tree, which refers to names of the style sheet's: it must go before.
    [[nodiscard]] xml2::DocHandle transform(const dom::NodeSource& source, const RunOptions& options = {});
    // What the output method makes of a result; its encoding is UTF-16.
    [[nodiscard]] std::u16string save(xmlDoc& result) const;
    // The same for a result of bytes.
    [[nodiscard]] std::string saveBytes(xmlDoc& result) const;

private:
    void compile();
    void setEncoding(const std::string& encoding);
    [[nodiscard]] xml2::DocHandle run(xmlDoc& document, std::size_t templateDepth, const WorkLimits& limits,
                                      const RunOptions& options);
    [[nodiscard]] xml2::DocHandle exportStyle() const;

    const dom::NodeSource source_;
    std::string uri_;
    xml2::Inclusions inclusions_{xml2::Dialect::StyleSheet};
    Steps steps_;             // the style sheet's expressions refer to them by number
    Meter::Charges charges_;  // the style sheet refers to them
    StyleHandle style_;
    std::string encoding_;  // that the style sheet asks for
    std::vector<Report> warnings_;
};

}  // namespace engine::xslt
