// The qualified names of one document, each kept once. Threads: as the tree they belong to.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "engine/dom/table.h"

namespace engine::dom {

using NameId = std::uint32_t;

class Names final {
public:
    static constexpr std::uint32_t kMost = (1u << 27) - 8;  // what a node's record has room for

    Names() noexcept;

    // The id of `name`, a new one if needed; ids count from 0. Throws as Table does, unchanged then.
    [[nodiscard]] NameId intern(std::string_view name);
    [[nodiscard]] std::optional<NameId> find(std::string_view name) const noexcept;

    [[nodiscard]] std::string_view text(NameId id) const noexcept {  // lives until the next new name
        const Record& record = records_[id];
        return {bytes_.data() + record.offset, record.length};
    }
    [[nodiscard]] std::uint32_t prefixLength(NameId id) const noexcept {  // in bytes, 0: no prefix
        return records_[id].prefixLength;
    }
    [[nodiscard]] std::uint32_t size() const noexcept { return records_.size(); }
    [[nodiscard]] std::size_t sizeInBytes() const noexcept;
    void trim();

private:
    struct Record {
        std::uint32_t offset;
        std::uint32_t length;
        std::uint32_t prefixLength;
        std::uint32_t hash;
    };

    [[nodiscard]] std::uint32_t hashOf(std::string_view name) const noexcept;
    void growSlots();
    // The slot that holds the name, or the free one where it would go.
    [[nodiscard]] std::uint32_t slotOf(std::string_view name, std::uint32_t hash) const noexcept;

    // Differs from tree to tree, so that no document can be written whose names all meet in one slot.
    std::uint64_t secret_;
    Table<Record> records_{kMost};
    Table<char> bytes_;
    // Open addressing, a power of two, at most half full; 0 is free, else the id plus 1.
    Table<std::uint32_t> slots_;
};

}  // namespace engine::dom
