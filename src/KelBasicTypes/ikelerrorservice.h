// Reports fatal conditions. The host may offer it. Positions are relied upon. Threads: any.
#pragma once

#include <cstdint>

#include "framework/object/kelunknown.h"

class KelString;

class IKelErrorService : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelErrorService"; }

    static constexpr std::int32_t kLevelError = 1;  // the only level that components of ours report

    virtual void reserved0() {}
    virtual void reserved1() {}

    // 2. `operation` names what failed ("realloc"); it may be empty, never null.
    virtual void report(const KelString& message, const std::int32_t& level, const char* operation) = 0;
};
