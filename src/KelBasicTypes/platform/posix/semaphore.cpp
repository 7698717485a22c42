#include "KelBasicTypes/platform/semaphore.h"

#include <mutex>
#include <new>
#include <utility>

#include "KelBasicTypes/platform/mutex.h"
#include "KelBasicTypes/platform/posix/waitlist.h"

namespace kel::platform {

struct Semaphore::State {
    State(std::int32_t initial, std::int32_t max) noexcept : count(initial), maximum(max) {}

    // Takes one of the count, or a position in the list. True: no need to sleep.
    bool takeOrQueue(Waiter& waiter) noexcept {
        const std::lock_guard guard(lock);
        if (count > 0) {
            --count;
            return true;
        }
        waiters.append(waiter);
        return false;
    }

    bool leaveQueue(Waiter& waiter) noexcept {
        const std::lock_guard guard(lock);
        return waiters.remove(waiter);
    }

    // For a wait that is not to be. True: what this thread took, or was given while it queued, must go to the
    // next one.
    bool abandon(Waiter& waiter, bool isTaken) noexcept {
        if (isTaken) return true;
        if (leaveQueue(waiter)) return false;
        waiter.sleep();
        return true;
    }

    // False: not woken within the time, and no longer queued.
    bool sleepFor(Waiter& waiter, std::uint32_t timeoutMs) noexcept {
        if (waiter.sleepFor(timeoutMs)) return true;
        if (leaveQueue(waiter)) return false;
        waiter.sleep();  // released between the time-out and here: the wake-up still needs the waiter
        return true;
    }

    std::mutex lock;
    std::int32_t count;  // above 0 only while no thread waits
    const std::int32_t maximum;
    WaitList waiters;
};

std::unique_ptr<Semaphore> Semaphore::create(std::int32_t initial, std::int32_t maximum) noexcept {
    std::unique_ptr<State> state(new (std::nothrow) State(initial, maximum));
    if (!state) return nullptr;
    return std::unique_ptr<Semaphore>(new (std::nothrow) Semaphore(std::move(state)));
}

Semaphore::Semaphore(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

Semaphore::~Semaphore() = default;

bool Semaphore::release(std::int32_t count) noexcept {
    Waiter* woken = nullptr;
    {
        const std::lock_guard guard(state_->lock);
        if (count < 1 || count > state_->maximum - state_->count) return false;
        std::int32_t taken = 0;
        woken = state_->waiters.takeFirst(count, taken);
        state_->count += count - taken;
    }
    Waiter::wakeAll(woken);
    return true;
}

void Semaphore::wait() noexcept {
    Waiter waiter;
    if (!state_->takeOrQueue(waiter)) waiter.sleep();
}

bool Semaphore::tryWait() noexcept {
    const std::lock_guard guard(state_->lock);
    if (state_->count == 0) return false;
    --state_->count;
    return true;
}

bool Semaphore::waitFor(std::uint32_t timeoutMs) noexcept {
    Waiter waiter;
    return state_->takeOrQueue(waiter) || state_->sleepFor(waiter, timeoutMs);
}

bool Semaphore::unlockAndWait(Mutex& held) noexcept {
    Waiter waiter;
    const bool isTaken = state_->takeOrQueue(waiter);
    if (!held.unlock()) {
        if (state_->abandon(waiter, isTaken)) release(1);
        return false;
    }
    if (!isTaken) waiter.sleep();
    return true;
}

WaitResult Semaphore::unlockAndWaitFor(Mutex& held, std::uint32_t timeoutMs) noexcept {
    Waiter waiter;
    const bool isTaken = state_->takeOrQueue(waiter);
    if (!held.unlock()) {
        if (state_->abandon(waiter, isTaken)) release(1);
        return WaitResult::NotHeld;
    }
    return isTaken || state_->sleepFor(waiter, timeoutMs) ? WaitResult::Woken : WaitResult::TimedOut;
}

}  // namespace kel::platform
