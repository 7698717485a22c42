// A memory barrier for all threads of the process at once. It lets one side of a handshake, which must be
// fast, do with plain stores and loads, at the expense of the other side, which is rare:
//
//     fast side                      rare side
//     store its own flag             store its own flag
//     (the compiler's barrier)       processBarrier()
//     load the other's flag          load the other's flag
//
// Never do both sides read the flag of the other as it was before.
#pragma once

namespace kel::platform {

// The same result for the whole life of the process. False: the system has no such barrier, both sides have
// to use sequentially consistent operations.
[[nodiscard]] bool hasProcessBarrier() noexcept;

void processBarrier() noexcept;  // does nothing without one

void renewProcessBarrier() noexcept;  // in a forked child, before it is used there

}  // namespace kel::platform
