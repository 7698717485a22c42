#include "host/memorylimit.h"

#include <chrono>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

namespace kelhost {

MemoryLimit::MemoryLimit(IDataStore& settings, MemoryManager& manager, Usage usage, Report report)
    : limit_(new MemLimitListener(settings)),
      manager_(manager),
      usage_(std::move(usage)),
      report_(std::move(report)),
      changes_(settings) {}

bool MemoryLimit::check() {
    const std::lock_guard guard(checking_);
    if (isChecking_) return true;  // a report or a reclaimer has come back here
    struct Look {
        explicit Look(bool& mark) : isUnderWay(mark) { isUnderWay = true; }
        Look(const Look&) = delete;
        Look& operator=(const Look&) = delete;
        ~Look() { isUnderWay = false; }
        bool& isUnderWay;
    } const look(isChecking_);
    const std::int64_t limit = limit_->limitInBytes();
    const std::uint64_t inUse = limit > 0 ? usage_() : 0;
    const auto max = static_cast<std::uint64_t>(limit > 0 ? limit : 0);
    if (inUse <= max) {
        if (inUse <= max - max / 10) isReported_ = false;
        return true;
    }
    (void)manager_.reclaimAll();  // what was freed shows when it is looked at again
    if (!std::exchange(isReported_, true)) report_(inUse, limit);
    return false;
}

void MemoryLimit::watch() {
    changes_.receive("Memory/MemLimit", [this](double limit) {
        if (limit > 0) startThread();
    });
    if (limit_->limitInBytes() > 0) startThread();
}

void MemoryLimit::startThread() {
    if (isWatched_.exchange(true)) return;
    try {
        std::thread([this] { run(); }).detach();
    } catch (const std::system_error&) {
        isWatched_ = false;  // no room for a thread: the next change of the setting tries again
    }
}

void MemoryLimit::run() {
    for (;;) {
        while (limit_->limitInBytes() > 0) {
            try {
                (void)check();
            } catch (const std::exception&) {
                // The report failed: there is nowhere to say so, and the next look is a second away.
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(kPeriodMs));
        }
        isWatched_ = false;
        // The limit may have been set between the look and the mark; then this thread goes on, or another
        // does.
        if (limit_->limitInBytes() <= 0 || isWatched_.exchange(true)) return;
    }
}

}  // namespace kelhost
