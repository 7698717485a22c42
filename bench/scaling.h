// Work done by several threads at once.
#pragma once

#include <cstdint>
#include <functional>

#include "bench/blockrounds.h"

namespace bench {

// How much more two threads get done in the same time than one, by the wall's clock: 2 is all that can be.
// The median of several runs of each, taken alternately. Needs a machine that has two cores free.
[[nodiscard]] double measureScaling(const std::function<void()>& work);

// The CPU time of a block taken and given back when `threads` threads do so at once.
[[nodiscard]] double nanosecondsPerBlock(int threads, std::uint64_t (*round)());

}  // namespace bench
