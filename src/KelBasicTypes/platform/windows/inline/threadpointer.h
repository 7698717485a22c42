// One pointer for each thread, which this library uses for what it keeps for that thread. Each platform has a
// header of this name, found through the include path, for reading the pointer has to cost next to nothing.
#pragma once

namespace kel::platform {

[[nodiscard]] void* threadPointer() noexcept;  // null at first

// Ends the use of a pointer; called on its thread, at the thread's end.
using ThreadEnd = void (*)(void* pointer) noexcept;

// False, and nothing changed, when the system cannot announce the thread's end or has announced it already.
// `onEnd` is the same function in every call. Not called for threads that still run when the library goes.
[[nodiscard]] bool setThreadPointer(void* pointer, ThreadEnd onEnd) noexcept;

}  // namespace kel::platform
