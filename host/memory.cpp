#include "host/memory.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "KelBasicTypes/detail/memorylog.h"
#include "KelBasicTypes/platform/process.h"

namespace kelhost {

namespace {

std::uint32_t inUnits(std::uint64_t bytes) {
    constexpr std::uint64_t kUnit = KelMM::IKelMManager::kUnitInBytes;
    const std::uint64_t units = bytes / kUnit + (bytes % kUnit != 0 ? 1 : 0);
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(units, std::numeric_limits<std::uint32_t>::max()));
}

}  // namespace

MemoryManager::MemoryManager(std::size_t reserveInBytes) : reserveInBytes_(reserveInBytes) {
    (void)restoreReserve();  // what there is no memory for cannot be held back
}

void MemoryManager::addReclaimer(Reclaimer reclaimer) {
    const std::lock_guard guard(lock_);
    reclaimers_.push_back(std::move(reclaimer));
}

bool MemoryManager::restoreReserve() {
    const std::lock_guard guard(lock_);
    if (!reserve_ && reserveInBytes_ > 0) reserve_.reset(new (std::nothrow) std::byte[reserveInBytes_]);
    return reserve_ != nullptr || reserveInBytes_ == 0;
}

bool MemoryManager::giveMemoryBack() {
    // A reclaimer that allocates after all comes back here on the same thread: there is nothing for it.
    const std::uintptr_t self = kel::platform::currentThread();
    if (givingThread_ == self) return false;
    const std::uint64_t before = freed_;
    const std::lock_guard guard(givingLock_);
    if (freed_ != before) return true;  // while this thread waited
    givingThread_ = self;
    const bool isFreed = reclaim();
    givingThread_ = 0;
    if (isFreed) ++freed_;
    return isFreed;
}

bool MemoryManager::reclaim() {
    for (std::size_t i = 0; Reclaimer* const reclaimer = reclaimerAt(i); ++i) {
        if ((*reclaimer)() > 0) return true;
    }
    const std::lock_guard guard(lock_);
    return std::exchange(reserve_, nullptr) != nullptr;
}

MemoryManager::Reclaimer* MemoryManager::reclaimerAt(std::size_t index) {
    const std::lock_guard guard(lock_);
    return index < reclaimers_.size() ? &reclaimers_[index] : nullptr;
}

std::size_t MemoryManager::reclaimAll() {
    const std::uintptr_t self = kel::platform::currentThread();
    if (givingThread_ == self) return 0;
    const std::lock_guard guard(givingLock_);
    givingThread_ = self;
    std::size_t freed = 0;
    for (std::size_t i = 0; Reclaimer* const reclaimer = reclaimerAt(i); ++i) freed += (*reclaimer)();
    givingThread_ = 0;
    if (freed > 0) ++freed_;
    return freed;
}

std::uint64_t MemoryManager::reserveInUse() const {
    const std::lock_guard guard(lock_);
    return reserve_ ? reserveInBytes_ : 0;
}

void MemoryManager::addPool(std::string name, PoolFigures figures) {
    const std::lock_guard guard(poolsLock_);
    pools_.push_back({std::move(name), std::move(figures)});
}

std::vector<MemoryManager::PoolUsage> MemoryManager::usageByPool() const {
    std::vector<PoolUsage> usage{{"reserve", reserveInUse(), reserveInBytes_}};
    const std::lock_guard guard(poolsLock_);
    for (const Pool& pool : pools_) {
        PoolUsage& entry = usage.emplace_back(PoolUsage{pool.name});
        pool.figures(entry.inUse, entry.limit);
    }
    return usage;
}

MemoryManager::Sums MemoryManager::sums() const {
    Sums sums{reserveInUse(), reserveInBytes_};
    const std::lock_guard guard(poolsLock_);
    for (const Pool& pool : pools_) {
        Sums one{0, 0};
        pool.figures(one.inUse, one.limit);
        sums.inUse += one.inUse;
        sums.limit += one.limit;
    }
    return sums;
}

std::uint32_t MemoryManager::coreLimit() {
    return inUnits(sums().limit);
}

std::uint32_t MemoryManager::coreInUse() {
    return inUnits(sums().inUse);
}

bool MemoryChecker::isAvailable() {
    MemoryFigures figures;
    return kel::detail::systemFigures(figures, 1);
}

void MemoryChecker::figures(MemoryFigures& result, std::uint32_t divisor) {
    (void)kel::detail::systemFigures(result, divisor);  // zeros where the system does not report it
}

}  // namespace kelhost
