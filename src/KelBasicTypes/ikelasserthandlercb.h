// Receives failed assertions without a callback (see assertion.h). The host may offer it. Threads: any.
#pragma once

#include <cstdint>

#include "framework/object/kelunknown.h"

class IKelAssertHandlerCB : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelAssertHandlerCB"; }

    // 0. Static texts. When it returns, the operation that failed goes on.
    virtual void assertionFailed(const char* expression, const char* sourcePath, std::int32_t line) = 0;
};
