#include "KelBasicTypes/platform/semaphore.h"

#include <new>
#include <utility>

#include "KelBasicTypes/platform/windows/nativemutex.h"

namespace kel::platform {

struct Semaphore::State {
    OwnedHandle handle;
};

std::unique_ptr<Semaphore> Semaphore::create(std::int32_t initial, std::int32_t maximum) noexcept {
    OwnedHandle handle(CreateSemaphoreW(nullptr, initial, maximum, nullptr));
    if (!handle) return nullptr;
    std::unique_ptr<State> state(new (std::nothrow) State{std::move(handle)});
    if (!state) return nullptr;
    return std::unique_ptr<Semaphore>(new (std::nothrow) Semaphore(std::move(state)));
}

Semaphore::Semaphore(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

Semaphore::~Semaphore() = default;

bool Semaphore::release(std::int32_t count) noexcept {
    return count >= 1 && ReleaseSemaphore(state_->handle.get(), count, nullptr) != 0;
}

void Semaphore::wait() noexcept {
    (void)WaitForSingleObject(state_->handle.get(), INFINITE);
}

bool Semaphore::tryWait() noexcept {
    return WaitForSingleObject(state_->handle.get(), 0) == WAIT_OBJECT_0;
}

bool Semaphore::waitFor(std::uint32_t timeoutMs) noexcept {
    return WaitForSingleObject(state_->handle.get(), timeoutMs) == WAIT_OBJECT_0;
}

bool Semaphore::unlockAndWait(Mutex& held) noexcept {
    Mutex::Native::startUnlock(held);
    const DWORD result =
        SignalObjectAndWait(Mutex::Native::handleOf(held), state_->handle.get(), INFINITE, FALSE);
    if (result == WAIT_OBJECT_0) return true;
    Mutex::Native::undoUnlock(held);
    return false;
}

WaitResult Semaphore::unlockAndWaitFor(Mutex& held, std::uint32_t timeoutMs) noexcept {
    Mutex::Native::startUnlock(held);
    const DWORD result =
        SignalObjectAndWait(Mutex::Native::handleOf(held), state_->handle.get(), timeoutMs, FALSE);
    if (result == WAIT_OBJECT_0) return WaitResult::Woken;
    if (result == WAIT_TIMEOUT) return WaitResult::TimedOut;
    Mutex::Native::undoUnlock(held);
    return WaitResult::NotHeld;
}

}  // namespace kel::platform
