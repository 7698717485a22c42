// A mutex that its owning thread may lock again, known to one process or, by name, to all processes of one
// user. A mutex whose owner ended without unlocking is abandoned: the next locker gets it and a report. A
// name lives as long as some process holds a mutex of that name, however those processes end. Threads: any.
// Destroying a mutex unlocks it if the calling thread holds it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace kel::platform {

enum class LockResult {
    Acquired,
    Abandoned,  // acquired, but what it protects is as its dead owner left it
    TimedOut,
    Failed,
};

class Mutex final {
public:
    // Without an owner. Null when the system fails; for a name also when it is empty or too long.
    [[nodiscard]] static std::unique_ptr<Mutex> create() noexcept;
    [[nodiscard]] static std::unique_ptr<Mutex> createOrOpen(const char* name) noexcept;
    [[nodiscard]] static std::unique_ptr<Mutex> open(
        const char* name) noexcept;  // null when no mutex has that name
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    ~Mutex();

    [[nodiscard]] LockResult lock() noexcept;
    [[nodiscard]] LockResult tryLock() noexcept;
    [[nodiscard]] LockResult lockFor(std::uint32_t timeoutMs) noexcept;
    bool unlock() noexcept;  // false when the calling thread is not the owner

private:
    friend class Event;
    friend class Semaphore;

    struct State;
    struct Native;  // the system's object, where other objects of the platform need it
    explicit Mutex(std::unique_ptr<State> state) noexcept;
    [[nodiscard]] LockResult finishLock(int systemCode) noexcept;

    std::unique_ptr<State> state_;
    std::atomic<std::int32_t> holds_{0};  // locks taken through this object and not yet undone
};

}  // namespace kel::platform
