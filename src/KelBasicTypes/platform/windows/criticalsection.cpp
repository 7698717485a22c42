#include "KelBasicTypes/platform/criticalsection.h"

#include <windows.h>

#include <new>

namespace kel::platform {

struct CriticalSection::State {
    explicit State(std::int32_t spins) noexcept : spinCount(spins < 0 ? kNoSpinCount : spins) {
        if (spinCount == kNoSpinCount) {
            InitializeCriticalSection(&section);
        } else {
            (void)InitializeCriticalSectionAndSpinCount(&section,
                                                        static_cast<DWORD>(spinCount));  // never fails
        }
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { DeleteCriticalSection(&section); }

    CRITICAL_SECTION section;
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
    EnterCriticalSection(&state().section);
}

bool CriticalSection::tryEnter() noexcept {
    return TryEnterCriticalSection(&state().section) != 0;
}

void CriticalSection::leave() noexcept {
    LeaveCriticalSection(&state().section);
}

std::int32_t CriticalSection::spinCount() const noexcept {
    return state().spinCount;
}

}  // namespace kel::platform
