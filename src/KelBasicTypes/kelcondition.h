// A condition variable whose broadcast returns only when every waiter it released has woken.
//
// Wake-ups may be spurious, so waiters test their condition in a loop:
//
//     mutex.lock();
//     while (!ready) condition.wait(mutex);
//
// The mutex must be held once, not recursively, while waiting, and by the broadcaster while it broadcasts.
// Threads: any; it may be destroyed when no thread waits. The first one of a process is made before other
// threads make conditions: it reads the environment variable KEL_SPIN_COUNT for all of them.
#pragma once

#include <cstdint>
#include <memory>

class KelMutex;

namespace kel::platform {
class CriticalSection;
class Event;
class Semaphore;
}  // namespace kel::platform

class KelCondition final {
public:
    KelCondition();  // throws std::bad_alloc when the system has no room for its objects
    KelCondition(const KelCondition&) = delete;
    KelCondition& operator=(const KelCondition&) = delete;
    ~KelCondition();

    void wait(KelMutex& held);  // the caller holds the mutex, again on return

    // The same for a limited time on the monotonic clock, which setting the time of day does not move. Cut to
    // whole milliseconds, at least one, at most about 49 days. False: the time is over. That leaves open
    // whether the condition holds by now, so look at it again either way. The time to get the mutex back is
    // not limited: the caller holds it on return.
    [[nodiscard]] bool waitFor(KelMutex& held, double seconds);

    void signal();     // wakes one waiter, if any
    void broadcast();  // wakes all; the caller holds the waiters' mutex

    // How often a contended enter of its own short lock looks again before it sleeps; -1: not at all.
    [[nodiscard]] std::int32_t spinCount() const noexcept;

private:
    void enter();
    bool leave(KelMutex& held, bool isWoken);

    std::int32_t waiters_ = 0;
    std::unique_ptr<kel::platform::CriticalSection>
        waitersLock_;  // guards waiters_ and wasBroadcast_; never held over a wait
    std::unique_ptr<kel::platform::Semaphore> waitQueue_;
    std::unique_ptr<kel::platform::Event> waitersDone_;  // set by the last waiter that a broadcast released
    bool wasBroadcast_ = false;                          // a broadcast is waiting for its waiters
};
