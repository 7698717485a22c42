// Four 16-bit units in one word, to be tested at once. Compilers do not find this by themselves in loops of
// so few rounds.
#pragma once

#include <cstdint>
#include <cstring>

namespace kel::detail {

inline constexpr std::uint64_t kOneInEachLane = 0x0001'0001'0001'0001;

[[nodiscard]] inline std::uint64_t loadLanes(const char16_t* four) noexcept {
    std::uint64_t lanes = 0;
    std::memcpy(&lanes, four, sizeof lanes);
    return lanes;
}
[[nodiscard]] constexpr bool hasZeroLane(std::uint64_t lanes) noexcept {
    return ((lanes - kOneInEachLane) & ~lanes & (kOneInEachLane << 15)) != 0;
}
// Whether a unit is `first` or `second`, which differ in one bit.
[[nodiscard]] constexpr bool hasEither(std::uint64_t lanes, char16_t first, char16_t second) noexcept {
    const auto bit = static_cast<char16_t>(first ^ second);
    return hasZeroLane((lanes | kOneInEachLane * bit) ^ kOneInEachLane * (first | bit));
}
[[nodiscard]] constexpr bool isAscii(std::uint64_t lanes) noexcept {
    return (lanes & kOneInEachLane * 0xFF80) == 0;
}

}  // namespace kel::detail
