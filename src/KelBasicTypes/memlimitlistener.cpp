#include "KelBasicTypes/memlimitlistener.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "KelBasicTypes/idatastore.h"
#include "KelBasicTypes/platform/memorystatus.h"
#include "framework/object/sptr.h"

namespace {

constexpr const char* kSetting = "Memory/MemLimit";
constexpr std::int64_t kUnknownLimit = -2147483648LL;

// Cut towards 0; beyond the type the nearest it has, 0 for what is no number.
std::int64_t truncated(double value) noexcept {
    constexpr double kBound = 9223372036854775808.0;
    if (!(value > -kBound)) return value != value ? 0 : std::numeric_limits<std::int64_t>::min();
    return value < kBound ? static_cast<std::int64_t>(value) : std::numeric_limits<std::int64_t>::max();
}

}  // namespace

MemLimitListener::MemLimitListener() : limit_(kUnknownLimit) {
    kel::platform::MemoryStatus status;
    if (kel::platform::readMemoryStatus(status)) {
        limit_ = static_cast<std::int64_t>(std::max(status.totalPhysical, status.totalVirtual));
    }
    const SPtr<IDataStore> settings;
    if (settings) listenTo(*settings);
}

MemLimitListener::MemLimitListener(IDataStore& settings) : limit_(0) {
    listenTo(settings);
}

void MemLimitListener::listenTo(IDataStore& settings) {
    settings.addReceiver(this, kSetting);
    limit_ = truncated(settings.readDouble(kSetting, 0));
}

std::int32_t MemLimitListener::dataChanged(const char* key, double value) {
    const std::int32_t order = std::strcmp(key, kSetting);
    if (order == 0) limit_ = truncated(value);
    return order;
}
