// A class identifier: 16 bytes laid out as a GUID. Equal when all 16 bytes are; in the order of their text
// form (KelBasicTypes/classidtext.h); fit to be a key, hashed or ordered. Threads: a value; no shared state.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>

struct KelClassId {
    // The fields of a GUID, in its order.
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};

    friend constexpr bool operator==(const KelClassId&, const KelClassId&) = default;
    friend constexpr auto operator<=>(const KelClassId&, const KelClassId&) = default;
};
static_assert(sizeof(KelClassId) == 16);

// Identifiers of one maker often differ in a few bits only: every byte goes through the hash (FNV-1a).
template <>
struct std::hash<KelClassId> {
    // Linear in the sixteen bytes.
    [[nodiscard]] std::size_t operator()(const KelClassId& id) const noexcept {
        std::uint64_t hash = 0xCBF29CE484222325;
        const auto mix = [&hash](std::uint64_t part) { hash = (hash ^ part) * 0x100000001B3; };
        for (int shift = 24; shift >= 0; shift -= 8) mix(id.data1 >> shift & 0xFF);
        for (const unsigned part : {unsigned{id.data2}, unsigned{id.data3}}) {
            mix(part >> 8);
            mix(part & 0xFF);
        }
        for (const std::uint8_t byte : id.data4) mix(byte);
        return static_cast<std::size_t>(hash);
    }
};
