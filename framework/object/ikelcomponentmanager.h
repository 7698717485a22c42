// What a host offers to its components. The host implements these; components rely on the position of every
// operation, so positions that we do not call are held by reserved operations.
// Threads: the host decides; components call from whatever thread uses them.
#pragma once

#include <cstdint>
#include <string>

#include "framework/object/kelunknown.h"

// A named group of services inside the host.
class IKelComponentContainer : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelComponentContainer"; }

    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}
    virtual void reserved4() {}
    virtual void reserved5() {}

    // 6. Returns 1 when the service was found: *out is then its part of the interface called serviceName,
    // without a reference added.
    virtual std::int32_t lookupService(const std::string& serviceName, void** out) = 0;
};

class IKelComponentManager : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelComponentManager"; }

    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}
    virtual void reserved4() {}
    virtual void reserved5() {}

    // 6. As the container's operation.
    virtual std::int32_t lookupService(const std::string& serviceName, void** out) = 0;

    virtual void reserved7() {}
    virtual void reserved8() {}

    // 9. A value that the self-test reports by its low byte.
    virtual std::int32_t testStatus() = 0;

    // 10. and 11. Count for every object of every component; decrementCount says whether the count reached
    // zero. They must not throw.
    virtual void incrementCount(std::int32_t* count) = 0;
    virtual bool decrementCount(std::int32_t* count) = 0;

    // 12. The container of this name, borrowed; null if there is none. Components pass 0 for `option`.
    virtual IKelComponentContainer* container(const std::string& name, std::int32_t option) = 0;
};
