// What a host inspects of a component: identity, classes, self-test. Threads: one at a time.
#pragma once

#include <cstdint>
#include <string>

#include "framework/object/kelclassid.h"
#include "framework/object/kelunknown.h"

// Receives the classes that the self-test would exercise. The host implements it.
class IKelTestReceiver : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelTestReceiver"; }

    // Called once for each class; the identifier is the caller's.
    virtual void receive(const KelClassId& testClass) = 0;
};

class IKelCompInternal : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelCompInternal"; }

    virtual void reserved0() {}
    virtual void reserved1() {}

    // 2. and 3. Live as long as the component's code.
    [[nodiscard]] virtual const KelClassId* classId() const = 0;
    [[nodiscard]] virtual const std::string& name() const = 0;

    // 4. Always null.
    [[nodiscard]] virtual void* reserved4() const { return nullptr; }

    // 5. to 8. The classes that createObject can make. One enumeration at a time in the whole process:
    // firstClass restarts it; both return false when there is no (further) class, and then leave *id alone.
    [[nodiscard]] virtual std::int32_t classCount() const = 0;
    virtual bool firstClass(KelClassId* id) = 0;
    virtual bool nextClass(KelClassId* id) = 0;
    [[nodiscard]] virtual const char* classNameOf(
        const KelClassId& id) const = 0;  // static text; null if unknown

    // 9. Always true.
    [[nodiscard]] virtual bool reserved9() const { return true; }

    // 10. With a receiver, hands it every test class; without one, reports to the host's error service.
    virtual void selfTest(IKelTestReceiver* receiver) = 0;

    // 11. and 12. The host's container that service lookups ask first; empty: none.
    virtual void setContainerName(const std::string& name) = 0;
    [[nodiscard]] virtual const std::string& containerName() const = 0;

    // 13. and 14. The break flag, at first what the environment variable KEL_BREAK_ENABLED says.
    virtual void setBreakEnabled(bool on) = 0;
    [[nodiscard]] virtual bool isBreakEnabled() const = 0;
};
