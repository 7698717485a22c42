// A manual-reset event: not signalled when created; once set it lets every thread through until it is reset.
// Threads: any; creating and closing need the object to themselves.
#pragma once

#include <cstdint>
#include <memory>

namespace kel::platform {
class Event;
}

class KelEvent final {
public:
    KelEvent() noexcept;  // null
    KelEvent(const KelEvent&) = delete;
    KelEvent& operator=(const KelEvent&) = delete;
    ~KelEvent();  // closes

    bool create() noexcept;  // false when it is not null, which changes nothing, or when the system fails
    bool close() noexcept;   // false when null; no thread may be waiting
    [[nodiscard]] bool isNull() const noexcept { return event_ == nullptr; }  // not created, or closed

    // Each returns false on a null event and does nothing.
    bool set() noexcept;
    bool reset() noexcept;
    bool wait() noexcept;
    [[nodiscard]] bool waitFor(std::uint32_t timeoutMs) noexcept;  // false also when the time is over

private:
    std::unique_ptr<kel::platform::Event> event_;
};

// Makes the operating system's own condition variable ready, for callers that use that one: `condition` is
// the address of a pthread_cond_t, on Windows of a CONDITION_VARIABLE. False when the system fails.
bool initializeNativeCondition(void* condition) noexcept;
