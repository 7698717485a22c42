// Time limits on the clock that is never set back.
#pragma once

#include <time.h>

#include <cstdint>

namespace kel::platform {

inline timespec monotonicDeadline(std::uint32_t timeoutMs) noexcept {
    constexpr long kNanosecondsPerSecond = 1'000'000'000;
    timespec at{};
    clock_gettime(CLOCK_MONOTONIC, &at);
    at.tv_sec += static_cast<time_t>(timeoutMs / 1000);
    at.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1'000'000;
    if (at.tv_nsec >= kNanosecondsPerSecond) {
        at.tv_nsec -= kNanosecondsPerSecond;
        ++at.tv_sec;
    }
    return at;
}

}  // namespace kel::platform
