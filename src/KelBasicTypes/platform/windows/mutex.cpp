#include "KelBasicTypes/platform/mutex.h"

#include <new>
#include <utility>

#include "KelBasicTypes/platform/windows/nativemutex.h"

namespace kel::platform {

struct Mutex::State {
    OwnedHandle handle;
};

namespace {

bool isName(const char* name) noexcept {
    return name != nullptr && *name != '\0';  // the system takes an empty name for none
}

}  // namespace

Mutex::Mutex(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

std::unique_ptr<Mutex> Mutex::Native::adopt(HANDLE systemMutex) noexcept {
    OwnedHandle handle(systemMutex);
    if (!handle) return nullptr;
    std::unique_ptr<State> state(new (std::nothrow) State{std::move(handle)});
    if (!state) return nullptr;
    return std::unique_ptr<Mutex>(new (std::nothrow) Mutex(std::move(state)));
}

std::unique_ptr<Mutex> Mutex::create() noexcept {
    return Native::adopt(CreateMutexExA(nullptr, nullptr, 0, SYNCHRONIZE));
}

std::unique_ptr<Mutex> Mutex::createOrOpen(const char* name) noexcept {
    if (!isName(name)) return nullptr;
    SECURITY_ATTRIBUTES attributes{};
    attributes.nLength = sizeof attributes;
    attributes.bInheritHandle = TRUE;
    return Native::adopt(CreateMutexExA(&attributes, name, 0, SYNCHRONIZE));
}

std::unique_ptr<Mutex> Mutex::open(const char* name) noexcept {
    if (!isName(name)) return nullptr;
    return Native::adopt(OpenMutexA(SYNCHRONIZE, FALSE, name));
}

Mutex::~Mutex() {
    while (holds_ > 0 && unlock()) {
    }
}

LockResult Mutex::finishLock(int systemCode) noexcept {
    switch (static_cast<DWORD>(systemCode)) {
        case WAIT_OBJECT_0:
            ++holds_;
            return LockResult::Acquired;
        case WAIT_ABANDONED:
            holds_ = 1;  // what the ended thread held went with it
            return LockResult::Abandoned;
        case WAIT_TIMEOUT:
            return LockResult::TimedOut;
        default:
            return LockResult::Failed;
    }
}

LockResult Mutex::lock() noexcept {
    return Native::finishLock(*this, WaitForSingleObject(state_->handle.get(), INFINITE));
}

LockResult Mutex::tryLock() noexcept {
    return Native::finishLock(*this, WaitForSingleObject(state_->handle.get(), 0));
}

LockResult Mutex::lockFor(std::uint32_t timeoutMs) noexcept {
    // The largest number stands for no limit to the system; a limit is what was asked for.
    const DWORD limit = timeoutMs == INFINITE ? INFINITE - 1 : timeoutMs;
    return Native::finishLock(*this, WaitForSingleObject(state_->handle.get(), limit));
}

bool Mutex::unlock() noexcept {
    Native::startUnlock(*this);  // before: afterwards the next owner may already count
    if (ReleaseMutex(state_->handle.get()) != 0) return true;
    Native::undoUnlock(*this);
    return false;
}

HANDLE Mutex::Native::handleOf(const Mutex& mutex) noexcept {
    return mutex.state_->handle.get();
}

LockResult Mutex::Native::finishLock(Mutex& mutex, DWORD waitResult) noexcept {
    return mutex.finishLock(static_cast<int>(waitResult));
}

}  // namespace kel::platform
