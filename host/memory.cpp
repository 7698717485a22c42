#include "host/memory.h"

#include <algorithm>
#include <new>
#include <utility>

#include "KelBasicTypes/platform/memorystatus.h"
#include "KelBasicTypes/platform/process.h"

namespace kelhost {

namespace {

std::uint32_t inUnits(std::size_t bytes) {
    constexpr std::size_t kUnit = KelMM::IKelMManager::kUnitInBytes;
    return static_cast<std::uint32_t>((bytes + kUnit - 1) / kUnit);
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

std::uint32_t MemoryManager::coreLimit() {
    return inUnits(reserveInBytes_);
}

std::uint32_t MemoryManager::coreInUse() {
    const std::lock_guard guard(lock_);
    return reserve_ ? inUnits(reserveInBytes_) : 0;
}

bool MemoryChecker::isAvailable() {
    kel::platform::MemoryStatus status;
    return kel::platform::readMemoryStatus(status);
}

void MemoryChecker::figures(MemoryFigures& result, std::uint32_t divisor) {
    result = {};
    kel::platform::MemoryStatus status;
    if (!kel::platform::readMemoryStatus(status)) return;
    const std::uint64_t unit = std::max<std::uint32_t>(divisor, 1);
    const auto beyondPhysical = [](std::uint64_t whole, std::uint64_t physical) {
        return whole > physical ? whole - physical : 0;
    };
    const std::uint64_t swapTotal =
        std::min(beyondPhysical(status.totalVirtual, status.totalPhysical), status.totalPageFile);
    const std::uint64_t swapFree =
        std::min({swapTotal, beyondPhysical(status.availableVirtual, status.availablePhysical),
                  status.availablePageFile});
    result = {status.availablePhysical / unit, status.totalPhysical / unit, swapFree / unit,
              swapTotal / unit};
}

}  // namespace kelhost
