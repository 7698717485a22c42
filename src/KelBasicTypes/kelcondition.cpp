// A waiter counts itself, then gives up the mutex and queues at the semaphore in one step: whoever signals
// after that finds it counted, and its place in the queue is taken before anybody can lock the mutex. A
// broadcast opens the semaphore for all that are counted and sleeps until the last of them says so. The
// broadcaster holds the mutex meanwhile, hence no new waiter can mix with those that it released.
#include "KelBasicTypes/kelcondition.h"

#include <limits>
#include <new>

#include "KelBasicTypes/detail/spincount.h"
#include "KelBasicTypes/kelmutex.h"
#include "KelBasicTypes/platform/event.h"
#include "KelBasicTypes/platform/mutex.h"
#include "KelBasicTypes/platform/semaphore.h"

using kel::platform::Event;
using kel::platform::EventReset;
using kel::platform::SectionGuard;
using kel::platform::Semaphore;

KelCondition::KelCondition()
    : waitersLock_(kel::processSpinCount()),
      waitQueue_(Semaphore::create(0, std::numeric_limits<std::int32_t>::max())),
      waitersDone_(Event::create(EventReset::Auto, false)) {
    if (!waitQueue_ || !waitersDone_) throw std::bad_alloc();
}

KelCondition::~KelCondition() = default;

void KelCondition::wait(KelMutex& held) {
    {
        const SectionGuard guard(waitersLock_);
        ++waiters_;
    }
    if (held.isNull() || !waitQueue_->unlockAndWait(*held.mutex_)) {
        held.unlock();
        waitQueue_->wait();
    }

    bool isLastOfBroadcast = false;
    {
        const SectionGuard guard(waitersLock_);
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
}

void KelCondition::signal() {
    bool hasWaiters = false;
    {
        const SectionGuard guard(waitersLock_);
        hasWaiters = waiters_ > 0;
    }
    if (hasWaiters) waitQueue_->release(1);
}

void KelCondition::broadcast() {
    {
        const SectionGuard guard(waitersLock_);
        if (waiters_ <= 0) return;
        wasBroadcast_ = true;
        waitQueue_->release(waiters_);
    }
    waitersDone_->wait();
    const SectionGuard guard(waitersLock_);
    wasBroadcast_ = false;
}
