// Blocks of mixed sizes, taken and given back: from the pool of the basic types, and from the heap.
#pragma once

#include <cstdint>

namespace bench {

inline constexpr std::uint64_t kBlocksInRound = 100'000;

// Each returns kBlocksInRound.
std::uint64_t takeAndGiveBack();
std::uint64_t allocateAndFree();

}  // namespace bench
