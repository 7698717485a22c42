// The system's recursive mutex, which a contended enter tries some times more before it sleeps.
#include "KelBasicTypes/platform/criticalsection.h"

#include <pthread.h>

#include <new>

#include "relaxprocessor.h"

namespace kel::platform {

struct CriticalSection::State {
    explicit State(std::int32_t spins) noexcept : spinCount(spins < 0 ? kNoSpinCount : spins) {
        pthread_mutexattr_t attributes;  // none of these calls fails for this type
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutex_init(&mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { pthread_mutex_destroy(&mutex); }

    bool tryEnter() noexcept { return pthread_mutex_trylock(&mutex) == 0; }

    pthread_mutex_t mutex{};
    const std::int32_t spinCount;
};

CriticalSection::State& CriticalSection::state() noexcept {
    return *std::launder(reinterpret_cast<State*>(storage_));
}

const CriticalSection::State& CriticalSection::state() const noexcept {
    return *std::launder(reinterpret_cast<const State*>(storage_));
}

CriticalSection::CriticalSection(std::int32_t spinCount) noexcept {
    static_assert(sizeof(State) <= kStateSizeInBytes);
    ::new (storage_) State(spinCount);
}

CriticalSection::~CriticalSection() {
    state().~State();
}

void CriticalSection::enter() noexcept {
    State& s = state();
    for (std::int32_t spin = 0; spin < s.spinCount; ++spin) {
        if (s.tryEnter()) return;
        relaxProcessor();
    }
    pthread_mutex_lock(&s.mutex);
}

bool CriticalSection::tryEnter() noexcept {
    return state().tryEnter();
}

void CriticalSection::leave() noexcept {
    pthread_mutex_unlock(&state().mutex);
}

std::int32_t CriticalSection::spinCount() const noexcept {
    return state().spinCount;
}

}  // namespace kel::platform
