// The system object behind a mutex, for the calls that signal one object and wait for another in one step.
// Threads: any.
#pragma once

#include "KelBasicTypes/platform/mutex.h"
#include "KelBasicTypes/platform/windows/handle.h"

namespace kel::platform {

struct Mutex::Native {
    // Takes over the handle. Null for none, and when memory runs out.
    [[nodiscard]] static std::unique_ptr<Mutex> adopt(HANDLE systemMutex) noexcept;
    [[nodiscard]] static HANDLE handleOf(const Mutex& mutex) noexcept;

    // What a wait for the mutex's handle came to, entered in the mutex's own account of its locks.
    [[nodiscard]] static LockResult finishLock(Mutex& mutex, DWORD waitResult) noexcept;

    // Around a call that unlocks the mutex: before it, and after it when it did not.
    static void startUnlock(Mutex& mutex) noexcept { --mutex.holds_; }
    static void undoUnlock(Mutex& mutex) noexcept { ++mutex.holds_; }
};

}  // namespace kel::platform
