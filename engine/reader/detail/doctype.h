// What the internal subset of a DOCTYPE declares, as far as a reader needs it beyond what libxml2 does.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/reader/events.h"

namespace engine::reader::detail {

// Attribute types and defaults. libxml2's qualified-name events leave both to the receiver.
class AttributeDeclarations final {
public:
    // The first declaration of an attribute counts.
    void declare(std::string_view element, std::string_view attribute, bool isTokenized,
                 std::optional<std::string> defaultValue);
    // Bytes that the missing defaults of an element are to be charged with; apply() then adds them.
    [[nodiscard]] std::uint64_t costOf(std::string_view element,
                                       std::span<const reader::Attribute> attributes);
    // Normalises values of types other than CDATA and appends the defaults that are missing. The views added
    // live until the next call.
    void apply(std::string_view element, std::vector<reader::Attribute>& attributes);

private:
    static constexpr std::uint64_t kCostOfAttribute = 32;
    struct Declaration {
        std::string name;
        bool isTokenized;
        std::optional<std::string> defaultValue;
        std::uint64_t lastUse;  // the last element that had the attribute itself
    };
    struct Element {
        std::vector<Declaration> attributes;
        std::map<std::string, std::size_t, std::less<>> byName;
    };
    std::map<std::string, Element, std::less<>> elements_;
    std::uint64_t uses_ = 0;
    std::vector<std::string> normalised_;
};

// Follows a document as it comes and counts the attributes of each start tag: libxml2 compares each with
// each.
class TagWidth final {
public:
    static constexpr std::uint32_t kMax = 10'000;
    // False: a tag has more than kMax attributes.
    [[nodiscard]] bool add(std::string_view text) noexcept;

private:
    enum class State : std::uint8_t {
        Text,
        Start,
        Bang,
        Dash,
        Comment,
        CData,
        Instruction,
        Tag,
        Declaration,
        Quote
    };
    void addUntil(char c, char mark, unsigned times) noexcept;
    void addInTag(char c) noexcept;

    State state_ = State::Text;
    State around_ = State::Text;  // of a quote
    char quote_ = 0;
    unsigned run_ = 0;  // of the mark that may end what is open
    std::uint32_t count_ = 0;
};

// How much text an entity has, found before any of it is expanded: nested entities grow exponentially,
// this takes time in the length of their declarations.
class EntitySizes final {
public:
    static constexpr std::uint64_t kUnbounded = ~std::uint64_t{0};
    static constexpr std::uint32_t kDeepest =
        100;  // entities nested in each other; libxml2 recurses over them

    struct Size {
        std::uint64_t bytes = 0;  // replacement texts of all entities inside, references included
        bool isLoop = false;      // refers to itself
        bool isTooDeep = false;
    };
    // The replacement text by name, empty for what is not declared; its views live as long as this object.
    using Lookup = std::function<std::string_view(std::string_view)>;

    explicit EntitySizes(Lookup lookup) : lookup_(std::move(lookup)) {}
    // For use when all entities are declared: what was found once is kept.
    [[nodiscard]] const Size& sizeOf(std::string_view name);

private:
    struct Known {
        Size size;
        std::uint32_t depth = 0;  // of entities inside
        bool isDone = false;
    };
    struct Frame {
        std::string name;
        std::string_view rest;
    };
    void close(std::vector<Frame>& stack);

    Lookup lookup_;
    std::map<std::string, Known, std::less<>> known_;
};

}  // namespace engine::reader::detail
