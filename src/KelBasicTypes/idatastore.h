// The host's settings store: values by slash-separated keys. Positions are relied upon.
// Threads: called from whatever thread needs a setting.
#pragma once

#include "framework/object/kelunknown.h"

class IKelDataReceiver;
class KelString;

class IDataStore : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IDataStore"; }

    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}
    virtual void reserved4() {}
    virtual void reserved5() {}
    virtual void reserved6() {}
    virtual void reserved7() {}
    virtual void reserved8() {}
    virtual void reserved9() {}
    virtual void reserved10() {}

    // 11. to 13. The value of a setting; the fallback when the store has none. Keys are never null.
    virtual bool readBool(const char* key, bool fallback) = 0;
    virtual double readDouble(const char* key, double fallback) = 0;
    virtual void readText(const char* key, KelString& result) = 0;  // empty when the store has none

    virtual void reserved14() {}
    virtual void reserved15() {}
    virtual void reserved16() {}
    virtual void reserved17() {}
    virtual void reserved18() {}
    virtual void reserved19() {}
    virtual void reserved20() {}
    virtual void reserved21() {}
    virtual void reserved22() {}
    virtual void reserved23() {}
    virtual void reserved24() {}
    virtual void reserved25() {}
    virtual void reserved26() {}
    virtual void reserved27() {}
    virtual void reserved28() {}
    virtual void reserved29() {}
    virtual void reserved30() {}
    virtual void reserved31() {}
    virtual void reserved32() {}
    virtual void reserved33() {}
    virtual void reserved34() {}

    // 35. From now on every change of the setting is reported to the receiver, of which the store takes a
    // reference.
    virtual void addReceiver(IKelDataReceiver* receiver, const char* key) = 0;
};
