#include "KelBasicTypes/platform/posix/waitlist.h"

#include <cerrno>

#include "KelBasicTypes/platform/posix/deadline.h"

namespace kel::platform {

void Waiter::sleep() noexcept {
    while (sem_wait(&gate_) != 0) {
        if (errno != EINTR) return;
    }
}

bool Waiter::sleepFor(std::uint32_t timeoutMs) noexcept {
    const timespec deadline = monotonicDeadline(timeoutMs);
    while (sem_clockwait(&gate_, CLOCK_MONOTONIC, &deadline) != 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

void Waiter::wakeAll(Waiter* chain) noexcept {
    while (chain != nullptr) {
        Waiter* const next = chain->next_;  // before the post: a woken thread ends the life of its waiter
        sem_post(&chain->gate_);
        chain = next;
    }
}

void WaitList::append(Waiter& waiter) noexcept {
    (last_ == nullptr ? first_ : last_->next_) = &waiter;
    last_ = &waiter;
}

bool WaitList::remove(Waiter& waiter) noexcept {
    Waiter* before = nullptr;
    for (Waiter* at = first_; at != nullptr; before = at, at = at->next_) {
        if (at != &waiter) continue;
        (before == nullptr ? first_ : before->next_) = at->next_;
        if (last_ == at) last_ = before;
        at->next_ = nullptr;
        return true;
    }
    return false;
}

Waiter* WaitList::takeFirst(std::int32_t max, std::int32_t& taken) noexcept {
    Waiter* const chain = first_;
    Waiter* lastTaken = nullptr;
    for (taken = 0; taken < max && first_ != nullptr; ++taken) {
        lastTaken = first_;
        first_ = first_->next_;
    }
    if (lastTaken == nullptr) return nullptr;
    lastTaken->next_ = nullptr;
    if (first_ == nullptr) last_ = nullptr;
    return chain;
}

}  // namespace kel::platform
