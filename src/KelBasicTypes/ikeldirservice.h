// The host's special directories by name. Positions are relied upon. Threads: called from any.
#pragma once

#include <string>

#include "framework/object/kelunknown.h"

class IKelDirService : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDirService"; }

    // 0. The directory that has this name ("temp"), in the 8-bit form of paths; empty when there is none.
    virtual std::string directory(const std::string& name) = 0;
};
