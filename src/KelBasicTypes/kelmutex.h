// A mutex that may be named and then belongs to all processes of the user who know the name.
// The thread that locked it may lock it again and unlocks it as often. A mutex whose owner ended while
// holding it is abandoned: lock() takes it, the trying locks report it as not acquired and leave it free for
// the next caller. Threads: any; creating, opening and closing need the object to themselves.
#pragma once

#include <cstdint>
#include <memory>

namespace kel::platform {
class Mutex;
}

class KelMutex final {
public:
    KelMutex() noexcept;  // null
    KelMutex(const KelMutex&) = delete;
    KelMutex& operator=(const KelMutex&) = delete;
    ~KelMutex();  // closes

    // Each gives a null object a mutex without an owner; false when it is not null, which changes
    // nothing, and when the system fails. A new or existing mutex of this name; an empty name is rejected;
    // `open` finds only a name that some living process holds.
    bool create() noexcept;
    bool create(const char* name) noexcept;
    bool open(const char* name) noexcept;

    bool lock() noexcept;                   // without time limit; false only when null
    [[nodiscard]] bool tryLock() noexcept;  // without waiting
    // The limit is cut to whole milliseconds and is 1 millisecond at least, about 49 days at most.
    [[nodiscard]] bool timedLock(double seconds) noexcept;
    bool unlock() noexcept;  // false when null, and when the calling thread does not own it

    [[nodiscard]] bool isNull() const noexcept { return mutex_ == nullptr; }  // not created, or closed
    bool close() noexcept;  // unlocks what the calling thread still holds; false when null

    [[nodiscard]] static std::uint32_t timeoutMs(double seconds) noexcept;  // the limit that timedLock uses

private:
    friend class KelCondition;  // waits for it together with its own objects

    std::unique_ptr<kel::platform::Mutex> mutex_;
};
