// Keeps the configured limit of memory up to date: the setting "Memory/MemLimit" of the host's settings
// store, as it is when the listener is made and after each change. Threads: the limit may be read from any
// thread.
#pragma once

#include <atomic>
#include <cstdint>

#include "KelBasicTypes/ikeldatareceiver.h"
#include "framework/object/implements.h"

class IDataStore;

class MemLimitListener final : public kel::Implements<MemLimitListener, IKelDataReceiver> {
public:
    static constexpr const char* kClassName = "MemLimitListener";
    static constexpr const char* interfaceName() noexcept { return kClassName; }

    // Without a settings store the limit is what the machine has; with one, a setting that is missing means
    // 0. The store then takes a reference, and its last release ends the listener, which therefore lives on
    // the heap.
    MemLimitListener();

    // The same with a store of the caller's choice, of which the listener keeps no reference.
    explicit MemLimitListener(IDataStore& settings);

    // Returns 0 for its own setting, else the order of the two names, and changes nothing.
    std::int32_t dataChanged(const char* key, double value) override;

    // The limit as it is now.
    [[nodiscard]] std::int64_t limitInBytes() const noexcept { return limit_; }

private:
    void listenTo(IDataStore& settings);

    std::atomic<std::int64_t> limit_;
};
