// A class identifier: 16 bytes laid out as a GUID. Equal when all 16 bytes are.
#pragma once

#include <array>
#include <cstdint>

struct KelClassId {
    // The fields of a GUID, in its order.
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};

    friend constexpr bool operator==(const KelClassId&, const KelClassId&) = default;
};
static_assert(sizeof(KelClassId) == 16);
