// What the host knows of memory, and what it can give back when there is none left.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "KelBasicTypes/ikelmmanager.h"
#include "KelBasicTypes/imemchecker.h"
#include "framework/object/implements.h"

namespace kelhost {

// Gives memory back when an allocation fails: first what the application's reclaimers let go of, last its own
// reserve. Threads: any. A call that comes in while another is giving back answers false.
class MemoryManager final : public kel::Implements<MemoryManager, KelMM::IKelMManager> {
public:
    static constexpr const char* kClassName = "MemoryManager";
    static constexpr std::size_t kReserveInBytes = std::size_t{1} << 20;  // unless told otherwise

    // Frees something that the application can do without, such as a cache, and says how many bytes; 0: there
    // is nothing. It must not allocate. It runs on the thread that has run out of memory, inside whatever
    // that thread does.
    using Reclaimer = std::function<std::size_t()>;

    // Takes the reserve at once, if there is memory for it.
    explicit MemoryManager(std::size_t reserveInBytes = kReserveInBytes);

    void addReclaimer(Reclaimer reclaimer);  // kept for good; asked in the order of adding
    bool restoreReserve();                   // after a shortage; false: there is not enough memory for it yet

    bool giveMemoryBack() override;

    // The reserve: its size, and what of it is there. There is no swap file.
    std::uint32_t coreLimit() override;
    std::uint32_t coreInUse() override;
    std::uint32_t swapLimit() override { return 0; }
    std::uint32_t swapInUse() override { return 0; }

private:
    std::size_t reserveInBytes_;
    std::mutex lock_;
    std::unique_ptr<std::byte[]> reserve_;  // null after it was given back
    std::vector<Reclaimer> reclaimers_;
    std::atomic<bool> isGivingBack_ = false;
};

// Memory of the machine, or of the control group that this process runs in. Threads: any.
class MemoryChecker final : public kel::Implements<MemoryChecker, IMemChecker> {
public:
    static constexpr const char* kClassName = "MemoryChecker";

    bool isAvailable() override;
    void figures(MemoryFigures& result, std::uint32_t divisor) override;  // 0 counts as 1
};

}  // namespace kelhost
