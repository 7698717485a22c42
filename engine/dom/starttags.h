// Where the start tags of a tree's elements stand in its source. That is asked of few elements and kept for
// all, so most of it is found again in the source: nodes come in groups by id, of which the first element's
// offset is kept and, of the others, only that they are elements; their start tags are those that follow.
// Threads: as the tree.
#pragma once

#include <cstdint>
#include <string_view>

#include "engine/tables/table.h"

namespace engine::dom {

class StartTags final {
public:
    static constexpr std::uint32_t kNoOffset = 0xFFFFFFFF;

    void reserve(std::uint32_t nodes) { groups_.reserve(nodes / kGroup + 1); }
    // The next element that was read: its id is above those before, and in the source no start tag stands
    // between.
    void add(std::uint32_t id, std::uint32_t offset) {
        const std::uint32_t group = id / kGroup;
        if (group >= groups_.size()) open(group, offset);
        groups_.back().elements |= bitOf(id);
    }
    // The same for a parser that reports elements which do not stand in the source, or not precisely where
    // they do.
    void addReported(std::uint32_t id, std::uint32_t offset, std::string_view source);
    // The id is no longer that of the element which was read.
    void forget(std::uint32_t id) noexcept {
        if (id / kGroup < groups_.size()) groups_[id / kGroup].forgotten |= bitOf(id);
    }
    // Of an element that was read; kNoOffset for all other ids. Linear in the source from the first element
    // of its group to it.
    [[nodiscard]] std::uint32_t offsetOf(std::uint32_t id, std::string_view source) const noexcept;
    void trim();
    [[nodiscard]] std::size_t sizeInBytes() const noexcept;

private:
    static constexpr std::uint32_t kGroup = 16;
    struct Group {
        std::uint32_t offset = 0;     // of its first element
        std::uint16_t elements = 0;   // a bit for each element whose start tag follows the one before
        std::uint16_t forgotten = 0;  // a bit for each id that was forgotten
    };
    struct Stray {
        std::uint32_t id;
        std::uint32_t offset;
    };

    [[nodiscard]] static std::uint16_t bitOf(std::uint32_t id) noexcept {
        return static_cast<std::uint16_t>(1u << id % kGroup);
    }
    [[gnu::noinline]] void open(std::uint32_t group, std::uint32_t offset);
    [[nodiscard]] static std::uint32_t offsetIn(const Group& group, std::uint32_t bit,
                                                std::string_view source) noexcept;

    tables::Table<Group> groups_;  // by id; none beyond the last element
    tables::Table<Stray> strays_;  // elements that the groups do not have, by id
};

}  // namespace engine::dom
