// The spin count of every condition in the process.
#pragma once

#include <cstdint>

namespace kel {

// KEL_SPIN_COUNT as a number, read when first asked for and never again; -1 when it is not set.
[[nodiscard]] std::int32_t processSpinCount() noexcept;

void forgetProcessSpinCount() noexcept;  // for tests: the next call reads the environment again

}  // namespace kel
