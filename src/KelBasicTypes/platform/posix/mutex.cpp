// Both sorts are robust, recursive system mutexes; a named one lies in memory that processes share. The
// thread keeps a list of the robust mutexes it holds, in the mutexes themselves: the memory of a held one
// must stay.
#include "KelBasicTypes/platform/mutex.h"

#include <pthread.h>

#include <cerrno>
#include <new>
#include <utility>

#include "KelBasicTypes/platform/posix/deadline.h"
#include "KelBasicTypes/platform/posix/sharedblock.h"

namespace kel::platform {
namespace {

bool initialize(pthread_mutex_t* mutex, int sharing) noexcept {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) return false;
    const bool done = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                      pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0 &&
                      pthread_mutexattr_setpshared(&attributes, sharing) == 0 &&
                      pthread_mutex_init(mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return done;
}

bool initializeShared(void* contents) noexcept {
    return initialize(static_cast<pthread_mutex_t*>(contents), PTHREAD_PROCESS_SHARED);
}

}  // namespace

struct Mutex::State {
    SharedBlockHolder block;  // null: `own` is the mutex
    std::unique_ptr<pthread_mutex_t> own;

    [[nodiscard]] pthread_mutex_t* mutex() const noexcept {
        return block ? static_cast<pthread_mutex_t*>(block->contents()) : own.get();
    }
};

Mutex::Mutex(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}

std::unique_ptr<Mutex> Mutex::create() noexcept {
    std::unique_ptr<State> state(new (std::nothrow) State);
    if (!state) return nullptr;
    state->own.reset(new (std::nothrow) pthread_mutex_t);
    if (!state->own || !initialize(state->own.get(), PTHREAD_PROCESS_PRIVATE)) return nullptr;
    return std::unique_ptr<Mutex>(new (std::nothrow) Mutex(std::move(state)));
}

namespace {

SharedBlockHolder attach(const char* name, SharedBlock::Access access) noexcept {
    return SharedBlock::attach(name, access, sizeof(pthread_mutex_t), initializeShared);
}

}  // namespace

std::unique_ptr<Mutex> Mutex::createOrOpen(const char* name) noexcept {
    std::unique_ptr<State> state(new (std::nothrow) State);
    if (!state) return nullptr;
    state->block = attach(name, SharedBlock::Access::CreateOrOpen);
    if (!state->block) return nullptr;
    return std::unique_ptr<Mutex>(new (std::nothrow) Mutex(std::move(state)));
}

std::unique_ptr<Mutex> Mutex::open(const char* name) noexcept {
    std::unique_ptr<State> state(new (std::nothrow) State);
    if (!state) return nullptr;
    state->block = attach(name, SharedBlock::Access::OpenExisting);
    if (!state->block) return nullptr;
    return std::unique_ptr<Mutex>(new (std::nothrow) Mutex(std::move(state)));
}

Mutex::~Mutex() {
    while (holds_ > 0 && unlock()) {
    }
    if (holds_ > 0) {
        // Another thread holds it, against the contract: its list of held mutexes leads through this memory.
        if (state_->block) state_->block->abandonMapping();
        (void)state_->own.release();
        return;
    }
    if (state_->own) pthread_mutex_destroy(state_->own.get());
}

LockResult Mutex::finishLock(int systemCode) noexcept {
    switch (systemCode) {
        case 0:
            ++holds_;
            return LockResult::Acquired;
        case EOWNERDEAD:
            pthread_mutex_consistent(state_->mutex());
            holds_ = 1;  // what the ended thread held went with it
            return LockResult::Abandoned;
        case EBUSY:
        case ETIMEDOUT:
            return LockResult::TimedOut;
        default:
            return LockResult::Failed;
    }
}

LockResult Mutex::lock() noexcept {
    return finishLock(pthread_mutex_lock(state_->mutex()));
}

LockResult Mutex::tryLock() noexcept {
    return finishLock(pthread_mutex_trylock(state_->mutex()));
}

LockResult Mutex::lockFor(std::uint32_t timeoutMs) noexcept {
    const timespec deadline = monotonicDeadline(timeoutMs);
    return finishLock(pthread_mutex_clocklock(state_->mutex(), CLOCK_MONOTONIC, &deadline));
}

bool Mutex::unlock() noexcept {
    // Before the unlock: afterwards the next owner may already count, or end the life of this object.
    --holds_;
    if (pthread_mutex_unlock(state_->mutex()) == 0) return true;
    ++holds_;
    return false;
}

}  // namespace kel::platform
