// The two receivers of settings: functions by key, and the memory limit.
//
// The store counts its receivers and calls them from any thread, so it knows a link of its own kind, which
// outlives the OxaDataReceiver where it has to, and is emptied when that ends.
#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <utility>

#include "KelBasicTypes/idatastore.h"
#include "KelBasicTypes/idatastorev2.h"
#include "KelBasicTypes/ikeldatareceiver.h"
#include "KelBasicTypes/memlimitlistener.h"
#include "KelBasicTypes/oxadatareceiver.h"
#include "KelBasicTypes/platform/criticalsection.h"
#include "KelBasicTypes/platform/memorystatus.h"
#include "framework/object/implements.h"
#include "framework/object/sptr.h"

using kel::platform::CriticalSection;
using kel::platform::SectionGuard;

class OxaDataReceiver::Link final : public kel::Implements<Link, IKelDataReceiver> {
public:
    static constexpr const char* kClassName = "OxaDataReceiver";

    std::int32_t dataChanged(const char* key, double value) override {
        const SectionGuard guard(lock_);  // until the function is done: see ~OxaDataReceiver
        const auto found = functions_.find(key);
        if (found == functions_.end()) return 1;
        const std::shared_ptr<const Function> kept = found->second;  // it may destroy its receiver
        if (*kept) (*kept)(value);
        return 0;
    }

    // True: the key is new.
    bool put(const std::string& key, Function function) {
        auto kept = std::make_shared<const Function>(std::move(function));
        const SectionGuard guard(lock_);
        return functions_.insert_or_assign(key, std::move(kept)).second;
    }

    void clear() noexcept {
        std::map<std::string, std::shared_ptr<const Function>, std::less<>>
            ended;  // destroyed without the lock
        const SectionGuard guard(lock_);
        functions_.swap(ended);
    }

private:
    CriticalSection lock_;
    std::map<std::string, std::shared_ptr<const Function>, std::less<>> functions_;
};

OxaDataReceiver::OxaDataReceiver() : settings_(SPtr<IDataStore>()), link_(new Link) {}

OxaDataReceiver::OxaDataReceiver(IDataStore& settings) : settings_(&settings), link_(new Link) {}

OxaDataReceiver::~OxaDataReceiver() {
    if (auto* const store = kel::queryInterface<IDataStoreV2>(settings_.get()))
        store->removeReceiver(link_.get());
    link_->clear();
}

bool OxaDataReceiver::receive(const std::string& key, Function function) {
    if (!settings_) return false;
    if (link_->put(key, std::move(function))) settings_->addReceiver(link_.get(), key.c_str());
    return true;
}

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
