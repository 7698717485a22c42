// A counting semaphore inside one process. Threads that wait are woken in the order in which they came.
// Threads: any; it may be destroyed when no thread waits.
#pragma once

#include <cstdint>
#include <memory>

namespace kel::platform {

class Mutex;

enum class WaitResult {
    Woken,
    TimedOut,  // and no longer among the waiters
    NotHeld,   // nothing was waited for
};

class Semaphore final {
public:
    // Null when the system has no room for one. 0 <= initial <= maximum.
    [[nodiscard]] static std::unique_ptr<Semaphore> create(std::int32_t initial,
                                                           std::int32_t maximum) noexcept;
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;
    ~Semaphore();

    // Lets `count` waits through, now or later. False and unchanged when that would exceed the maximum
    // or count is below 1.
    bool release(std::int32_t count) noexcept;
    void wait() noexcept;
    [[nodiscard]] bool tryWait() noexcept;
    [[nodiscard]] bool waitFor(std::uint32_t timeoutMs) noexcept;  // false when the time is over

    // One step: this thread has its place among the waiters before the mutex is free for another thread, so
    // no thread that locks the mutex afterwards can be let through first. False when the calling thread does
    // not hold the mutex: then nothing was waited for and nothing queued.
    [[nodiscard]] bool unlockAndWait(Mutex& held) noexcept;

    // The same for a limited time on a clock that is never set back. The mutex is free afterwards unless it
    // was not held.
    [[nodiscard]] WaitResult unlockAndWaitFor(Mutex& held, std::uint32_t timeoutMs) noexcept;

private:
    struct State;
    explicit Semaphore(std::unique_ptr<State> state) noexcept;
    std::unique_ptr<State> state_;
};

}  // namespace kel::platform
