// The host's memory manager: holds memory that it can do without. Positions are relied upon.
// Threads: called from whatever thread runs out of memory; no operation may allocate through this library.
#pragma once

#include <cstdint>

#include "framework/object/kelunknown.h"

namespace KelMM {

class IKelMManager : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelMManager"; }

    static constexpr std::uint32_t kUnitInBytes = 24 * 1024;  // of the four figures below

    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}

    // 3. Returns true when something was released, so that trying again makes sense.
    virtual bool giveMemoryBack() = 0;

    virtual void reserved4() {}
    virtual void reserved5() {}
    virtual void reserved6() {}
    virtual void reserved7() {}
    virtual void reserved8() {}
    virtual void reserved9() {}

    // 10. to 12. and 17. Limit and use of memory and of swap space, in units of kUnitInBytes.
    virtual std::uint32_t coreLimit() = 0;
    virtual std::uint32_t swapLimit() = 0;
    virtual std::uint32_t swapInUse() = 0;

    virtual void reserved13() {}
    virtual void reserved14() {}
    virtual void reserved15() {}
    virtual void reserved16() {}

    virtual std::uint32_t coreInUse() = 0;  // see coreLimit
};

}  // namespace KelMM
