#include <atomic>
#include <cstdlib>

#include "KelBasicTypes/detail/spincount.h"

namespace kel {
namespace {

constexpr std::int32_t kNotConfigured = -1;

std::atomic<std::int32_t> spinCount{kNotConfigured};
std::atomic<bool> isRead{false};

}  // namespace

std::int32_t processSpinCount() noexcept {
    if (!isRead.exchange(true, std::memory_order_relaxed)) {
        if (const char* text = std::getenv("KEL_SPIN_COUNT")) {
            // Not strtol: text that is no number counts as 0, as it always has.
            spinCount.store(std::atoi(text), std::memory_order_relaxed);  // NOLINT(cert-err34-c)
        }
    }
    return spinCount.load(std::memory_order_relaxed);
}

void forgetProcessSpinCount() noexcept {
    spinCount = kNotConfigured;
    isRead = false;
}

}  // namespace kel
