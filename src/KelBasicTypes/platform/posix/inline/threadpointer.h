// One pointer for each thread, which this library uses for what it keeps for that thread. Each platform has a
// header of this name, found through the include path, for reading the pointer has to cost next to nothing.
#pragma once

namespace kel::platform {

// Part of every thread from its start: a thread-local that is allocated when a thread first reads it ends a
// process that is out of memory inside the loader.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local void* currentThreadPointer;

[[nodiscard]] inline void* threadPointer() noexcept {
    return currentThreadPointer;  // null at first
}

// Ends the use of a pointer; called on its thread, at the thread's end.
using ThreadEnd = void (*)(void* pointer) noexcept;

// False, and nothing changed, when the system cannot announce the thread's end or has announced it already.
// `onEnd` is the same function in every call. Not called for threads that still run when the library goes.
[[nodiscard]] bool setThreadPointer(void* pointer, ThreadEnd onEnd) noexcept;

}  // namespace kel::platform
