// A flag to wait for, inside one process.
// Threads: any; it may be destroyed when no thread waits.
#pragma once

#include <cstdint>
#include <memory>

namespace kel::platform {

class Mutex;

enum class EventReset {
    Auto,    // setting it lets one waiter through, the one that came first, and is then used up
    Manual,  // setting it lets every thread through until it is reset
};

class Event final {
public:
    [[nodiscard]] static std::unique_ptr<Event> create(EventReset reset,
                                                       bool isSet) noexcept;  // null: no room
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    ~Event();

    void set() noexcept;
    void reset() noexcept;
    void wait() noexcept;
    [[nodiscard]] bool waitFor(
        std::uint32_t timeoutMs) noexcept;  // false when the time is over; 0 only looks

    // One operation: sets the event, then waits for the mutex without limit. False when the mutex cannot be
    // had; the event is set all the same.
    [[nodiscard]] bool setAndLock(Mutex& mutex) noexcept;

private:
    struct State;
    explicit Event(std::unique_ptr<State> state) noexcept;
    std::unique_ptr<State> state_;
};

}  // namespace kel::platform
