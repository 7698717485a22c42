// What the internal subset of a DOCTYPE declares, as far as a reader needs it beyond what libxml2 does.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
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
    // Normalises values of types other than CDATA and appends the defaults that are missing. The views added
    // live until the next call.
    void apply(std::string_view element, std::vector<Attribute>& attributes);

private:
    struct Declaration {
        std::string name;
        bool isTokenized;
        std::optional<std::string> defaultValue;
    };
    std::map<std::string, std::vector<Declaration>, std::less<>> elements_;
    std::vector<std::string> normalised_;
};

// How much text an entity stands for, found before any of it is expanded: nested entities grow exponentially,
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
