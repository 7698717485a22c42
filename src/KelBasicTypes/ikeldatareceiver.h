// Receives changes of settings. Positions are relied upon.
// Threads: the store's, one change at a time for each receiver.
#pragma once

#include <cstdint>

#include "framework/object/kelunknown.h"

class IKelDataReceiver : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDataReceiver"; }

    // 0. Returns 0 when the setting was one that the receiver knows.
    virtual std::int32_t dataChanged(const char* key, double value) = 0;
};
