// Where a unit is in a text of 16-bit units. Four units are tested at once, for most text has it nowhere
// near.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "KelBasicTypes/detail/lanes.h"

namespace kel::detail {

// The first position from `from` on; the text's size when there is none.
[[nodiscard]] inline std::size_t findUnit(std::u16string_view text, char16_t unit,
                                          std::size_t from = 0) noexcept {
    const std::uint64_t pattern = kOneInEachLane * unit;
    const auto hasUnitAt = [&](std::size_t at) { return hasZeroLane(loadLanes(text.data() + at) ^ pattern); };
    std::size_t at = from;
    for (; at + 4 <= text.size(); at += 4) {
        if (hasUnitAt(at)) break;  // where in the four is predicted better than computed
    }
    // Up to three are left: they are tested together with some before.
    if (at + 4 > text.size() && from + 4 <= text.size() && !hasUnitAt(text.size() - 4)) return text.size();
    while (at < text.size() && text[at] != unit) ++at;
    return at;
}

}  // namespace kel::detail
