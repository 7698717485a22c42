#include "threadpointer.h"

#include <windows.h>

#include <atomic>

namespace kel::platform {
namespace {

constinit std::atomic<DWORD> slot{FLS_OUT_OF_INDEXES};
constinit std::atomic<ThreadEnd> threadEnd{nullptr};

// What a thread's slot holds once its end was announced.
char endedMark = 0;

// The system clears the slot first. A value that stands there afterwards would be announced once more.
void WINAPI end(void* pointer) noexcept {
    if (pointer == &endedMark) return;
    (void)FlsSetValue(slot.load(std::memory_order_relaxed), &endedMark);
    if (const ThreadEnd onEnd = threadEnd.load(std::memory_order_acquire)) onEnd(pointer);
}

// Freed with the library, although threads may still run: the system would call into code that is gone. It
// does call for all of them when the slot is freed; their pointers may then still be in use.
class Slot final {
public:
    Slot() noexcept { slot.store(FlsAlloc(end), std::memory_order_release); }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    ~Slot() {
        threadEnd.store(nullptr, std::memory_order_release);
        const DWORD index = slot.exchange(FLS_OUT_OF_INDEXES, std::memory_order_acq_rel);
        if (index != FLS_OUT_OF_INDEXES) (void)FlsFree(index);
    }
};

}  // namespace

void* threadPointer() noexcept {
    const DWORD index = slot.load(std::memory_order_acquire);
    if (index == FLS_OUT_OF_INDEXES) return nullptr;
    const DWORD error = GetLastError();  // the call below clears it
    void* const pointer = FlsGetValue(index);
    SetLastError(error);
    return pointer == &endedMark ? nullptr : pointer;
}

bool setThreadPointer(void* pointer, ThreadEnd onEnd) noexcept {
    static const Slot theSlot;
    const DWORD index = slot.load(std::memory_order_acquire);
    if (index == FLS_OUT_OF_INDEXES || FlsGetValue(index) == &endedMark) return false;
    threadEnd.store(onEnd, std::memory_order_release);
    return FlsSetValue(index, pointer) != 0;
}

}  // namespace kel::platform
