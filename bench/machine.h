// What the benchmarks ask the operating system.
// Threads: one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

// One or two lines: processor, cores, load, compiler, build type, versions of the peers.
[[nodiscard]] std::string describeMachine();

// Memory of this process that is resident now, and the peak.
struct Residency {
    std::uint64_t nowInBytes = 0;
    std::uint64_t peakInBytes = 0;
};
[[nodiscard]] Residency residency();  // throws std::runtime_error where the system does not report it

// Forgets the peak so far. Throws as residency.
void resetPeak();

// Gives free heap memory back to the system, so far as the allocator can.
void trimHeap() noexcept;

// Makes the allocator do now what it has put off while memory was freed.
void settleHeap() noexcept;

// While it lives, freed memory stays with the process, whatever its size. Else the largest blocks come from
// the system each time, page by page, and the smaller ones do not.
class KeptHeap final {
public:
    KeptHeap() noexcept;
    ~KeptHeap();
    KeptHeap(const KeptHeap&) = delete;
    KeptHeap& operator=(const KeptHeap&) = delete;
};

// Runs a program with these arguments and returns what it printed; throws std::runtime_error when it cannot
// be started or does not end with 0.
[[nodiscard]] std::string runProgram(const std::string& path, const std::vector<std::string>& arguments);
// This very program.
[[nodiscard]] std::string runSelf(const std::vector<std::string>& arguments);

}  // namespace bench
