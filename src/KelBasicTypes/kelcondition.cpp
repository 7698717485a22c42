// Conditions, and the event, which is a thin layer over the platform's.
//
// A waiter counts itself, then gives up the mutex and queues at the semaphore in one step: a thread that
// signals after that finds it counted, and its place in the queue is taken before another thread can lock the
// mutex. A broadcast opens the semaphore for all that are counted and sleeps until the last of them says so.
// The broadcaster holds the mutex meanwhile, hence no new waiter can mix with those that it released.
//
// A waiter whose time is over has left the queue but is still counted: a broadcast may have opened the
// semaphore for it, too. So it looks there once more before it stops counting, and is then woken like any
// other.
#include "KelBasicTypes/kelcondition.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/kelevent.h"
#include "KelBasicTypes/kelmutex.h"
#include "KelBasicTypes/platform/criticalsection.h"
#include "KelBasicTypes/platform/event.h"
#include "KelBasicTypes/platform/mutex.h"
#include "KelBasicTypes/platform/nativecondition.h"
#include "KelBasicTypes/platform/semaphore.h"

using kel::platform::CriticalSection;
using kel::platform::Event;
using kel::platform::EventReset;
using kel::platform::SectionGuard;
using kel::platform::Semaphore;
using kel::platform::WaitResult;

namespace {

constexpr std::int32_t kNotConfigured = -1;

std::atomic<std::int32_t> spinCount{kNotConfigured};  // of every condition in the process
std::atomic<bool> isRead{false};

// KEL_SPIN_COUNT as a number, read on first use only; -1 when it is not set.
std::int32_t processSpinCount() noexcept {
    if (!isRead.exchange(true, std::memory_order_relaxed)) {
        if (const char* text = std::getenv("KEL_SPIN_COUNT")) {
            // Not strtol: text that is no number counts as 0, as it always has.
            spinCount.store(std::atoi(text), std::memory_order_relaxed);  // NOLINT(cert-err34-c)
        }
    }
    return spinCount.load(std::memory_order_relaxed);
}

}  // namespace

void kel::detail::resetSpinCount() {
    spinCount = kNotConfigured;
    isRead = false;
}

KelCondition::KelCondition()
    : waitersLock_(std::make_unique<CriticalSection>(processSpinCount())),
      waitQueue_(Semaphore::create(0, std::numeric_limits<std::int32_t>::max())),
      waitersDone_(Event::create(EventReset::Auto, false)) {
    if (!waitQueue_ || !waitersDone_) throw std::bad_alloc();
}

KelCondition::~KelCondition() = default;

std::int32_t KelCondition::spinCount() const noexcept {
    return waitersLock_->spinCount();
}

void KelCondition::wait(KelMutex& held) {
    enter();
    if (held.isNull() || !waitQueue_->unlockAndWait(*held.mutex_)) {
        held.unlock();
        waitQueue_->wait();
    }
    (void)leave(held, true);
}

bool KelCondition::waitFor(KelMutex& held, double seconds) {
    const std::uint32_t timeoutMs = KelMutex::timeoutMs(seconds);
    enter();
    WaitResult result =
        held.isNull() ? WaitResult::NotHeld : waitQueue_->unlockAndWaitFor(*held.mutex_, timeoutMs);
    if (result == WaitResult::NotHeld) {
        held.unlock();
        result = waitQueue_->waitFor(timeoutMs) ? WaitResult::Woken : WaitResult::TimedOut;
    }
    return leave(held, result == WaitResult::Woken);
}

void KelCondition::enter() {
    const SectionGuard guard(*waitersLock_);
    ++waiters_;
}

// Takes the mutex again. Returns whether this thread was woken after all.
bool KelCondition::leave(KelMutex& held, bool isWoken) {
    bool isLastOfBroadcast = false;
    {
        const SectionGuard guard(*waitersLock_);
        isWoken = isWoken || waitQueue_->tryWait();
        --waiters_;
        isLastOfBroadcast = wasBroadcast_ && waiters_ == 0;
    }
    if (!isLastOfBroadcast) {
        held.lock();
    } else if (held.isNull()) {
        waitersDone_->set();
    } else {
        (void)waitersDone_->setAndLock(*held.mutex_);
    }
    return isWoken;
}

void KelCondition::signal() {
    bool hasWaiters = false;
    {
        const SectionGuard guard(*waitersLock_);
        hasWaiters = waiters_ > 0;
    }
    if (hasWaiters) waitQueue_->release(1);
}

void KelCondition::broadcast() {
    {
        const SectionGuard guard(*waitersLock_);
        if (waiters_ <= 0) return;
        wasBroadcast_ = true;
        waitQueue_->release(waiters_);
    }
    waitersDone_->wait();
    const SectionGuard guard(*waitersLock_);
    wasBroadcast_ = false;
}

KelEvent::KelEvent() noexcept = default;

KelEvent::~KelEvent() = default;

bool KelEvent::create() noexcept {
    if (!isNull()) return false;
    event_ = Event::create(kel::platform::EventReset::Manual, false);
    return !isNull();
}

bool KelEvent::close() noexcept {
    if (isNull()) return false;
    event_.reset();
    return true;
}

bool KelEvent::set() noexcept {
    if (isNull()) return false;
    event_->set();
    return true;
}

bool KelEvent::reset() noexcept {
    if (isNull()) return false;
    event_->reset();
    return true;
}

bool KelEvent::wait() noexcept {
    if (isNull()) return false;
    event_->wait();
    return true;
}

bool KelEvent::waitFor(std::uint32_t timeoutMs) noexcept {
    return !isNull() && event_->waitFor(timeoutMs);
}

bool initializeNativeCondition(void* condition) noexcept {
    return kel::platform::initializeNativeCondition(condition);
}
