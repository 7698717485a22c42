// Stands between a parser and the sink: checks and resolves prefixes. A document without prefixes and
// declarations costs a look at each name for a colon.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/reader/errors.h"
#include "engine/reader/events.h"

namespace engine::reader::detail {

// Thrown out of the events below through the parser, which knows where the culprit stands.
struct NamespaceFault {
    static constexpr std::size_t kElement = ~std::size_t{0};
    ErrorCode code;
    std::string reason;
    std::size_t attribute = kElement;  // index of the culprit
};

class NamespaceLayer final : public EventSink, private Namespaces, private Locator {
public:
    explicit NamespaceLayer(EventSink& sink) noexcept : sink_(sink) {}

    // Another parser goes on with the document.
    void follow(const Locator& locator) noexcept { locator_ = &locator; }

    void startDocument(const Locator& locator) override;
    void endDocument() override { sink_.endDocument(); }
    void startElement(std::string_view name, std::span<const Attribute> attributes) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override { sink_.characters(text); }
    void startCData() override { sink_.startCData(); }
    void endCData() override { sink_.endCData(); }
    void comment(std::string_view text) override { sink_.comment(text); }
    void processingInstruction(std::string_view target, std::string_view data) override;

private:
    static constexpr std::uint32_t kNone = ~std::uint32_t{0};
    struct Binding {
        std::string prefix;
        std::string uri;
        std::uint32_t hidden = kNone;  // index of the binding of the same prefix further out
    };
    struct Scope {
        std::uint64_t depth;  // of the element that declares
        std::uint32_t firstBinding;
    };
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept {
            return std::hash<std::string_view>()(text);
        }
    };

    [[nodiscard]] Position position() const override { return locator_->position(); }
    [[nodiscard]] const Namespaces* namespaces() const override { return this; }
    [[nodiscard]] ExpandedName element() const override;
    [[nodiscard]] ExpandedName attribute(std::size_t index) const override;
    [[nodiscard]] bool isDeclaration(std::size_t index) const override;
    [[nodiscard]] std::span<const NamespaceDeclaration> declarations() const override {
        return declarations_;
    }

    void declare(std::size_t index, std::string_view prefix, std::string_view uri);
    void bind(std::string_view prefix, std::string_view uri);
    void leaveScope();
    void fillDeclarations(std::uint32_t first);
    void resolveAttributes();
    void checkDuplicates();
    [[nodiscard]] ExpandedName resolve(std::string_view name, std::size_t index) const;
    [[nodiscard]] const Binding* find(std::string_view prefix) const;

    EventSink& sink_;
    const Locator* locator_ = nullptr;
    std::uint64_t depth_ = 0;
    std::vector<Binding> bindings_;
    std::unordered_map<std::string, std::uint32_t, Hash, std::equal_to<>> newest_;  // by prefix
    std::string_view defaultUri_;
    std::vector<Scope> scopes_;

    std::span<const Attribute> attributes_;
    ExpandedName element_;                // of the start tag being delivered
    std::string_view ending_;             // of the end tag being delivered, else empty
    std::vector<ExpandedName> resolved_;  // of the attributes; empty if none has a prefix
    std::vector<NamespaceDeclaration> declarations_;
    std::vector<std::uint32_t> order_;  // scratch
};

}  // namespace engine::reader::detail
