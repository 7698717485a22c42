// Several 16-bit units at once, four in a word or eight in a vector. Compilers do not find this by themselves
// in loops of so few rounds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace kel::detail {

inline constexpr std::uint64_t kOneInEachLane = 0x0001'0001'0001'0001;

[[nodiscard]] inline std::uint64_t loadLanes(const char16_t* four) noexcept {
    std::uint64_t lanes = 0;
    std::memcpy(&lanes, four, sizeof lanes);
    return lanes;
}
inline void storeLanes(std::uint64_t lanes, char16_t* four) noexcept {
    std::memcpy(four, &lanes, sizeof lanes);
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

inline constexpr std::size_t kVectorLength = 8;
using Vector = std::uint16_t __attribute__((vector_size(kVectorLength * sizeof(std::uint16_t))));

[[nodiscard]] inline Vector loadVector(const char16_t* eight) noexcept {
    Vector units;
    std::memcpy(&units, eight, sizeof units);
    return units;
}
inline void storeVector(Vector units, char16_t* eight) noexcept {
    std::memcpy(eight, &units, sizeof units);
}
// All bits set where the unit is `first` or `second`, which differ in one bit.
[[nodiscard]] inline Vector areEither(Vector units, char16_t first, char16_t second) noexcept {
    const auto bit = static_cast<std::uint16_t>(first ^ second);
    return Vector((units | bit) == static_cast<std::uint16_t>(first | bit));
}
[[nodiscard]] inline bool isAnySet(Vector units) noexcept {
    std::uint64_t halves[2];
    std::memcpy(halves, &units, sizeof halves);
    return (halves[0] | halves[1]) != 0;
}

// Copies units, few of them without a call: in pieces of fixed length, the last of which overlaps the one
// before. Returns the end of the copy.
inline char16_t* copyUnits(std::u16string_view text, char16_t* to) noexcept {
    constexpr std::size_t kMany = 64;
    constexpr std::size_t kLanes = 4;
    if (text.size() > kMany) {
        std::memcpy(to, text.data(), text.size() * sizeof(char16_t));
    } else if (text.size() >= kVectorLength) {
        const std::size_t last = text.size() - kVectorLength;
        for (std::size_t at = 0; at < last; at += kVectorLength)
            storeVector(loadVector(text.data() + at), to + at);
        storeVector(loadVector(text.data() + last), to + last);
    } else if (text.size() >= kLanes) {
        const std::size_t last = text.size() - kLanes;
        storeLanes(loadLanes(text.data()), to);
        storeLanes(loadLanes(text.data() + last), to + last);
    } else {
        for (std::size_t i = 0; i < text.size(); ++i) to[i] = text[i];
    }
    return to + text.size();
}

}  // namespace kel::detail
