// Threads asleep in the order in which they came. Each sleeps on a gate of its own, so that a wake-up reaches
// exactly the thread that it is for, and a thread can take its place first and go to sleep later.
// Threads: the owner of a list guards it with one lock of its own, and takes waiters out of it under that
// lock. It wakes them after leaving the lock: a thread just woken may end the life of the lock, and of the
// list.
#pragma once

#include <semaphore.h>

#include <cstdint>

namespace kel::platform {

class Waiter final {
public:
    Waiter() noexcept { sem_init(&gate_, 0, 0); }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;
    ~Waiter() { sem_destroy(&gate_); }

    void sleep() noexcept;
    [[nodiscard]] bool sleepFor(std::uint32_t timeoutMs) noexcept;  // false: not woken within the time

    // Wakes this waiter and those that were taken out with it. Each may be gone before this returns.
    static void wakeAll(Waiter* chain) noexcept;

private:
    friend class WaitList;
    sem_t gate_{};
    Waiter* next_ = nullptr;
};

class WaitList final {
public:
    [[nodiscard]] bool isEmpty() const noexcept { return first_ == nullptr; }
    void append(Waiter& waiter) noexcept;

    // False when it was taken out before: then a wake-up is under way to it and it must sleep until that
    // comes.
    bool remove(Waiter& waiter) noexcept;

    // The first `max` waiters, fewer if there are not so many, as a chain; null when there are none.
    [[nodiscard]] Waiter* takeFirst(std::int32_t max, std::int32_t& taken) noexcept;

private:
    Waiter* first_ = nullptr;
    Waiter* last_ = nullptr;
};

}  // namespace kel::platform
