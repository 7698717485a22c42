// The host's drawing, which makes way for a message box. Positions are relied upon. Threads: any.
#pragma once

#include "framework/object/kelunknown.h"

class IGfxRenderer : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IGfxRenderer"; }

    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}
    virtual void reserved4() {}
    virtual void reserved5() {}
    virtual void reserved6() {}

    // 7. and 8. Around the report of a fatal condition; the second only after a message box was closed.
    virtual void beforeReport() = 0;
    virtual void afterMessageBox() = 0;
};
