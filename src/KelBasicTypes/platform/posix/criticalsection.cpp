// One word tells free, held, or held with sleepers; owner and depth make it recursive. A process that has a
// single thread takes and leaves the word without a locked instruction: the pool enters one section per
// string.
#include "KelBasicTypes/platform/criticalsection.h"

#include <pthread.h>

#include <atomic>
#include <new>

#include "singlethread.h"

namespace kel::platform {
namespace {

constexpr std::int32_t kFree = 0;
constexpr std::int32_t kHeld = 1;
constexpr std::int32_t kHeldWithSleepers = 2;

}  // namespace

struct CriticalSection::State {
    explicit State(std::int32_t spins) noexcept : spinCount(spins < 0 ? kNoSpinCount : spins) {}

    bool tryAcquire() noexcept {
        std::int32_t expected = kFree;
        if (isSingleThreaded()) {
            if (word.load(std::memory_order_relaxed) != kFree) return false;
            word.store(kHeld, std::memory_order_relaxed);
            return true;
        }
        return word.compare_exchange_strong(expected, kHeld, std::memory_order_acquire,
                                            std::memory_order_relaxed);
    }

    void acquireContended() noexcept {
        for (std::int32_t spin = 0; spin < spinCount; ++spin) {
            if (word.load(std::memory_order_relaxed) == kFree && tryAcquire()) return;
        }
        // Whoever comes this way takes the lock as one with sleepers, for it cannot know that it was the
        // last.
        while (word.exchange(kHeldWithSleepers, std::memory_order_acquire) != kFree) {
            word.wait(kHeldWithSleepers, std::memory_order_relaxed);
        }
    }

    void free() noexcept {
        if (isSingleThreaded()) {
            word.store(kFree, std::memory_order_relaxed);
            return;
        }
        if (word.exchange(kFree, std::memory_order_release) == kHeldWithSleepers) word.notify_one();
    }

    std::atomic<std::int32_t> word{kFree};
    std::atomic<pthread_t> owner{};  // read by others too, but only the owner ever finds itself in it
    std::uint32_t depth = 0;         // guarded by the lock
    const std::int32_t spinCount;
};

CriticalSection::State& CriticalSection::state() noexcept {
    return *std::launder(reinterpret_cast<State*>(storage_));
}

const CriticalSection::State& CriticalSection::state() const noexcept {
    return *std::launder(reinterpret_cast<const State*>(storage_));
}

CriticalSection::CriticalSection(std::int32_t spinCount) noexcept {
    static_assert(sizeof(State) <= kStateSizeInBytes);
    ::new (storage_) State(spinCount);
}

CriticalSection::~CriticalSection() {
    state().~State();
}

void CriticalSection::enter() noexcept {
    State& s = state();
    const pthread_t self = pthread_self();
    if (s.owner.load(std::memory_order_relaxed) != self) {
        if (!s.tryAcquire()) s.acquireContended();
        s.owner.store(self, std::memory_order_relaxed);
    }
    ++s.depth;
}

bool CriticalSection::tryEnter() noexcept {
    State& s = state();
    const pthread_t self = pthread_self();
    if (s.owner.load(std::memory_order_relaxed) != self) {
        if (!s.tryAcquire()) return false;
        s.owner.store(self, std::memory_order_relaxed);
    }
    ++s.depth;
    return true;
}

void CriticalSection::leave() noexcept {
    State& s = state();
    if (--s.depth != 0) return;
    s.owner.store(pthread_t{}, std::memory_order_relaxed);
    s.free();
}

std::int32_t CriticalSection::spinCount() const noexcept {
    return state().spinCount;
}

}  // namespace kel::platform
