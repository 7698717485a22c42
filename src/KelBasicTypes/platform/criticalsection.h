// A lock for short sections inside one process; the thread that holds it may enter it again.
// Threads: any. A section that no thread has entered may be destroyed; one that is held may not.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::platform {

class CriticalSection final {
public:
    static constexpr std::int32_t kNoSpinCount = -1;

    // A contended enter looks at the lock `spinCount` times more before it sleeps; a negative count means
    // none.
    explicit CriticalSection(std::int32_t spinCount = kNoSpinCount) noexcept;
    CriticalSection(const CriticalSection&) = delete;  // waiters know a section by its address
    CriticalSection& operator=(const CriticalSection&) = delete;
    ~CriticalSection();

    void enter() noexcept;
    [[nodiscard]] bool tryEnter() noexcept;
    void leave() noexcept;  // once for every enter, on the thread that entered

    [[nodiscard]] std::int32_t spinCount() const noexcept;  // kNoSpinCount, or what construction was given

private:
    struct State;
    [[nodiscard]] State& state() noexcept;
    [[nodiscard]] const State& state() const noexcept;

    // In place, so that a section needs no allocation: the allocator itself runs under one.
    static constexpr std::size_t kStateSizeInBytes = 64;
    alignas(std::max_align_t) std::byte storage_[kStateSizeInBytes];
};

class SectionGuard final {
public:
    explicit SectionGuard(CriticalSection& section) noexcept : section_(section) { section_.enter(); }
    SectionGuard(const SectionGuard&) = delete;
    SectionGuard& operator=(const SectionGuard&) = delete;
    ~SectionGuard() { section_.leave(); }

private:
    CriticalSection& section_;
};

}  // namespace kel::platform
