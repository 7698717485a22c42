// Makes one request to the system fail: the n-th of its kind from a given moment on, on whatever thread it
// comes. The program's own definitions of malloc, open, read and so on stand before the C library's, also for
// the libraries that it loads. Requests inside the C library (stdio's writes) are out of reach.
#pragma once

#include <cstdint>

namespace faults {

enum class Kind : std::uint8_t { Allocation, Open, Read, Write, Stat, Map };

// From now on the `number`-th request, from 1, of this kind fails, once: memory with ENOMEM, all else with
// EIO.
void arm(Kind kind, std::uint32_t number) noexcept;
// No request fails any more. True: one has failed since `arm`.
bool disarm() noexcept;

// Blocks of memory that were taken and not given back.
[[nodiscard]] std::int64_t liveBlocks() noexcept;

// An address in the code of libxml2 or libxslt.
[[nodiscard]] bool isLibrarys(const void* address) noexcept;
// From now on blocks are noted with who asked for them; and how many of those that live are the libraries'.
void trackBlocks() noexcept;
[[nodiscard]] std::int64_t trackedLibraryBlocks() noexcept;  // ends the tracking

}  // namespace faults
