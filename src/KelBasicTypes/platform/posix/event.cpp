#include "KelBasicTypes/platform/event.h"

#include <limits>
#include <mutex>
#include <new>
#include <utility>

#include "KelBasicTypes/platform/mutex.h"
#include "KelBasicTypes/platform/posix/waitlist.h"

namespace kel::platform {

struct Event::State {
    State(EventReset kind, bool set) noexcept : reset(kind), isSet(set) {}

    // True when the event is set, which an auto-reset event then no longer is; otherwise `waiter` is in the
    // list.
    bool passOrQueue(Waiter& waiter) noexcept {
        const std::lock_guard guard(lock);
        if (isSet) {
            isSet = reset == EventReset::Manual;
            return true;
        }
        waiters.append(waiter);
        return false;
    }

    std::mutex lock;
    const EventReset reset;
    bool isSet;  // false while a thread waits
    WaitList waiters;
};

std::unique_ptr<Event> Event::create(EventReset reset, bool isSet) noexcept {
    std::unique_ptr<State> state(new (std::nothrow) State(reset, isSet));
    if (!state) return nullptr;
    return std::unique_ptr<Event>(new (std::nothrow) Event(std::move(state)));
}

Event::Event(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

Event::~Event() = default;

void Event::set() noexcept {
    Waiter* woken = nullptr;
    {
        const std::lock_guard guard(state_->lock);
        std::int32_t taken = 0;
        const bool isAuto = state_->reset == EventReset::Auto;
        woken = state_->waiters.takeFirst(isAuto ? 1 : std::numeric_limits<std::int32_t>::max(), taken);
        state_->isSet = !isAuto || taken == 0;
    }
    Waiter::wakeAll(woken);
}

void Event::reset() noexcept {
    const std::lock_guard guard(state_->lock);
    state_->isSet = false;
}

void Event::wait() noexcept {
    Waiter waiter;
    if (!state_->passOrQueue(waiter)) waiter.sleep();
}

bool Event::waitFor(std::uint32_t timeoutMs) noexcept {
    Waiter waiter;
    if (state_->passOrQueue(waiter)) return true;
    const bool woken = timeoutMs != 0 && waiter.sleepFor(timeoutMs);
    const std::unique_lock guard(
        state_->lock);  // also when woken: it orders the setter's writes before our return
    if (woken) return true;
    if (state_->waiters.remove(waiter)) return false;
    waiter.sleep();  // set between the time-out and here: the wake-up still needs the waiter
    return true;
}

bool Event::setAndLock(Mutex& mutex) noexcept {
    set();
    // A system mutex queues nothing before the wait, so a thread woken by the set may lock
    // first. It then finds what it would find had this thread unlocked in between: the order of the two steps
    // is kept.
    return mutex.lock() != LockResult::Failed;
}

}  // namespace kel::platform
