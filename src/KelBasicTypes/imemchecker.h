// How much memory the machine has, where the system reports it wrongly. Positions are relied upon. Threads:
// any.
#pragma once

#include <cstdint>

#include "framework/object/kelunknown.h"

// Figures in units of the divisor that was asked for.
struct MemoryFigures {
    // Memory and swap space of the machine: what is free, and all of it.
    std::uint64_t systemFree = 0;
    std::uint64_t systemTotal = 0;
    std::uint64_t swapFree = 0;
    std::uint64_t swapTotal = 0;
};

class IMemChecker : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IMemChecker"; }

    // 0. Whether it knows anything.
    virtual bool isAvailable() = 0;

    // 1. Bytes divided by the divisor, rounded down.
    virtual void figures(MemoryFigures& result, std::uint32_t divisor) = 0;
};
