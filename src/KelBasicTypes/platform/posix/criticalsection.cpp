// One word tells free, held, or held with sleepers; owner and depth make it recursive.
//
// Taking the word costs one locked instruction, giving it free none: the owner looks whether there are
// sleepers and then stores. A sleeper that comes between the two is not woken, so everybody looks again after
// a while: soon at first, for the two are next to each other, then ever less often, for then the lock really
// is held. Nothing of a section is touched after the store, for whoever enters next may end its life. A
// process that has a single thread takes the word without a locked instruction, too.
#include "KelBasicTypes/platform/criticalsection.h"

#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <new>

#include "relaxprocessor.h"
#include "singlethread.h"

namespace kel::platform {
namespace {

constexpr std::int32_t kFree = 0;
constexpr std::int32_t kHeld = 1;
constexpr std::int32_t kHeldWithSleepers = 2;

constexpr long kFirstSleepInNs = 1'000'000;
constexpr long kLongestSleepInNs = 128'000'000;

static_assert(sizeof(std::atomic<std::int32_t>) == sizeof(std::int32_t));

// Returns at once when the word is another than `expected`, else when woken or when the time is over.
void sleepWhile(std::atomic<std::int32_t>& word, std::int32_t expected, long timeoutInNs) noexcept {
    const timespec timeout{0, timeoutInNs};
    (void)syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, &timeout, nullptr, 0);
}

// The word itself may be gone.
void wakeOne(std::atomic<std::int32_t>* word) noexcept {
    (void)syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

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
            relaxProcessor();
            if (word.load(std::memory_order_relaxed) == kFree && tryAcquire()) return;
        }
        // Whoever comes this way takes the lock as one with sleepers, for it cannot know that it was the
        // last.
        long sleep = kFirstSleepInNs;
        while (word.exchange(kHeldWithSleepers, std::memory_order_acquire) != kFree) {
            sleepWhile(word, kHeldWithSleepers, sleep);
            sleep = std::min(2 * sleep, kLongestSleepInNs);
        }
    }

    void free() noexcept {
        const bool hasSleepers = word.load(std::memory_order_relaxed) == kHeldWithSleepers;
        std::atomic<std::int32_t>* const address = &word;
        word.store(kFree, std::memory_order_release);
        if (hasSleepers) wakeOne(address);
    }

    std::atomic<std::int32_t> word{kFree};
    std::uint32_t depth = 0;         // guarded by the lock
    std::atomic<pthread_t> owner{};  // read by others too, but only the owner ever finds itself in it
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
