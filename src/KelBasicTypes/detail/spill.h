// The last resorts of the guarded allocation.
#pragma once

#include <cstddef>

namespace kel::detail {

// Asks the memory manager to give memory back and tries again, until that works or it has nothing left. Null:
// it did not work.
[[nodiscard]] void* allocateWithManager(std::size_t sizeInBytes);

// Grows a block that the heap cannot grow while its old contents are in memory: they wait in a temporary
// file. The bytes behind them become zero. Ends the process when that fails too.
void moveThroughSpillFile(void*& block, std::size_t oldBytes, std::size_t newBytes);

}  // namespace kel::detail
