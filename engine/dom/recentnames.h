// The names that callers have used last, in UTF-16 as they write them: an application asks for the same few
// again and again. A direct-mapped cache: a name replaces the one whose slot it has. Threads: as the tree.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "engine/tables/names.h"

namespace engine::dom {

class RecentNames final {
public:
    // kNoName: not used lately, or not since `names` gave out other ids.
    [[nodiscard]] tables::NameId find(std::u16string_view name, const tables::Names& names) const noexcept {
        if (name.empty()) return tables::kNoName;
        const Entry& entry = entries_[slotOf(name)];
        const bool isIt = entry.generation == names.generation() && entry.length == name.size() &&
                          isSame(name, entry.text.data());
        return isIt ? entry.id : tables::kNoName;
    }
    // Of a name that is not empty.
    void remember(std::u16string_view name, tables::NameId id, const tables::Names& names) noexcept {
        if (name.size() > kLongest) return;
        Entry& entry = entries_[slotOf(name)];
        entry.id = id;
        entry.generation = names.generation();
        entry.length = static_cast<std::uint32_t>(name.size());
        std::copy(name.begin(), name.end(), entry.text.begin());
    }

private:
    static constexpr std::size_t kLongest = 26;
    static constexpr std::size_t kEntryBits = 6;

    struct Entry {
        tables::NameId id = tables::kNoName;
        std::uint32_t generation = 0;
        std::uint32_t length = 0;
        std::array<char16_t, kLongest> text{};
    };

    // Names are too short to be worth a call.
    [[nodiscard]] static bool isSame(std::u16string_view name, const char16_t* text) noexcept {
        for (std::size_t i = 0; i < name.size(); ++i) {
            if (name[i] != text[i]) return false;
        }
        return true;
    }
    [[nodiscard]] static std::size_t slotOf(std::u16string_view name) noexcept {
        const std::size_t units =
            name.size() + 0x1F3u * name.front() + 0x35u * name[name.size() / 2] + 0x7u * name.back();
        return static_cast<std::uint32_t>(units * 0x9E3779B1u) >> (32 - kEntryBits);
    }

    std::array<Entry, std::size_t{1} << kEntryBits> entries_{};
};

}  // namespace engine::dom
