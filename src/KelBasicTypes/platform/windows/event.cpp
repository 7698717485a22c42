#include "KelBasicTypes/platform/event.h"

#include <new>
#include <utility>

#include "KelBasicTypes/platform/windows/nativemutex.h"

namespace kel::platform {

struct Event::State {
    OwnedHandle handle;
};

std::unique_ptr<Event> Event::create(EventReset reset, bool isSet) noexcept {
    OwnedHandle handle(
        CreateEventW(nullptr, reset == EventReset::Manual ? TRUE : FALSE, isSet ? TRUE : FALSE, nullptr));
    if (!handle) return nullptr;
    std::unique_ptr<State> state(new (std::nothrow) State{std::move(handle)});
    if (!state) return nullptr;
    return std::unique_ptr<Event>(new (std::nothrow) Event(std::move(state)));
}

Event::Event(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

Event::~Event() = default;

void Event::set() noexcept {
    (void)SetEvent(state_->handle.get());
}

void Event::reset() noexcept {
    (void)ResetEvent(state_->handle.get());
}

void Event::wait() noexcept {
    (void)WaitForSingleObject(state_->handle.get(), INFINITE);
}

bool Event::waitFor(std::uint32_t timeoutMs) noexcept {
    const DWORD limit = timeoutMs == INFINITE ? INFINITE - 1 : timeoutMs;  // a limit, however long
    return WaitForSingleObject(state_->handle.get(), limit) == WAIT_OBJECT_0;
}

bool Event::setAndLock(Mutex& mutex) noexcept {
    DWORD result = SignalObjectAndWait(state_->handle.get(), Mutex::Native::handleOf(mutex), INFINITE, FALSE);
    if (result == WAIT_FAILED) {
        set();  // the broadcaster waits for it, whatever becomes of the mutex
        result = WaitForSingleObject(Mutex::Native::handleOf(mutex), INFINITE);
    }
    return Mutex::Native::finishLock(mutex, result) != LockResult::Failed;
}

}  // namespace kel::platform
