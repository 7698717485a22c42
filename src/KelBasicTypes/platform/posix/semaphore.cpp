#include "KelBasicTypes/platform/semaphore.h"

#include <mutex>
#include <new>
#include <utility>

#include "KelBasicTypes/platform/mutex.h"
#include "KelBasicTypes/platform/posix/waitlist.h"

namespace kel::platform {

struct Semaphore::State {
    State(std::int32_t initial, std::int32_t most) noexcept : count(initial), maximum(most) {}

    // Takes one of the count, or a place in the list. True: no need to sleep.
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

    std::mutex lock;
    std::int32_t count;  // above 0 only while nobody waits
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

bool Semaphore::unlockAndWait(Mutex& held) noexcept {
    Waiter waiter;
    const bool taken = state_->takeOrQueue(waiter);
    if (!held.unlock()) {
        if (!taken) {
            if (state_->leaveQueue(waiter)) return false;
            waiter.sleep();
        }
        release(1);  // what this thread took, or was given while it queued, goes to the next one
        return false;
    }
    if (!taken) waiter.sleep();
    return true;
}

}  // namespace kel::platform
