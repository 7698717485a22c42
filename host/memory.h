// What the host knows of memory, and what it can give back when there is none left.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "KelBasicTypes/ikelmmanager.h"
#include "KelBasicTypes/imemchecker.h"
#include "framework/object/implements.h"

namespace kelhost {

// Gives memory back when an allocation fails: first what the application's reclaimers let go of, last its own
// reserve. Threads: any. One gives back at a time; a thread that waited meanwhile retries if
// that one freed anything. A call from inside a reclaimer returns false.
class MemoryManager final : public kel::Implements<MemoryManager, KelMM::IKelMManager> {
public:
    static constexpr const char* kClassName = "MemoryManager";
    static constexpr std::size_t kReserveInBytes = std::size_t{1} << 20;  // by default

    // Frees something that the application can do without, such as a cache, and says how many bytes; 0: there
    // is nothing. It must not allocate. It runs on the thread that has run out of memory, inside whatever
    // that thread does, or on the one that watches the memory limit (host/memorylimit.h).
    using Reclaimer = std::function<std::size_t()>;

    // Takes the reserve at once, if there is memory for it.
    explicit MemoryManager(std::size_t reserveInBytes = kReserveInBytes);

    void addReclaimer(Reclaimer reclaimer);  // kept for good; asked in the order of adding
    bool restoreReserve();                   // after a shortage; false: there is not enough memory for it yet

    bool giveMemoryBack() override;

    // Asks every reclaimer once and leaves the reserve alone. Returns what they freed, in bytes.
    std::size_t reclaimAll();

    // A pool, cache or arena of the application that shall count: what it has taken and may take at most, 0
    // for no limit, in bytes. The function is called from any thread, when memory may have run out: it must
    // not allocate and not throw. The name is for people.
    struct PoolUsage {
        std::string name;         // for people
        std::uint64_t inUse = 0;  // in bytes
        std::uint64_t limit = 0;  // in bytes, 0: none
    };
    // Sets both, in bytes. Called from any thread; neither allocates nor throws.
    using PoolFigures = std::function<void(std::uint64_t& inUse, std::uint64_t& limit)>;
    void addPool(std::string name, PoolFigures figures);  // kept for good
    // The reserve, "reserve", and then the pools in the order of adding.
    [[nodiscard]] std::vector<PoolUsage> usageByPool() const;

    // The sums over the reserve and all pools, each in whole units. There is no swap file.
    std::uint32_t coreLimit() override;
    std::uint32_t coreInUse() override;
    std::uint32_t swapLimit() override { return 0; }
    std::uint32_t swapInUse() override { return 0; }

private:
    struct Pool {
        std::string name;
        PoolFigures figures;
    };
    struct Sums {
        std::uint64_t inUse;
        std::uint64_t limit;
    };
    [[nodiscard]] bool reclaim();
    [[nodiscard]] Reclaimer* reclaimerAt(std::size_t index);  // null after the last one
    [[nodiscard]] std::uint64_t reserveInUse() const;
    [[nodiscard]] Sums sums() const;

    std::size_t reserveInBytes_;
    mutable std::mutex lock_;               // of the next two; never held while a reclaimer runs
    std::unique_ptr<std::byte[]> reserve_;  // null after it was given back
    std::deque<Reclaimer> reclaimers_;      // which stay at their addresses
    std::mutex givingLock_;
    std::atomic<std::uintptr_t> givingThread_ = 0;  // the one that has it
    std::atomic<std::uint64_t> freed_ = 0;          // how often something was freed
    mutable std::mutex poolsLock_;
    std::vector<Pool> pools_;
};

// Memory of the machine, or of the control group that this process runs in. Threads: any.
class MemoryChecker final : public kel::Implements<MemoryChecker, IMemChecker> {
public:
    static constexpr const char* kClassName = "MemoryChecker";

    bool isAvailable() override;
    void figures(MemoryFigures& result, std::uint32_t divisor) override;  // 0 counts as 1
};

}  // namespace kelhost
