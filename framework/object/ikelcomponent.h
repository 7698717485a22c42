// What a host calls of a component. Threads: one initialises and shuts down; createObject: any.
#pragma once

#include <cstdint>
#include <string>

#include "framework/object/kelclassid.h"
#include "framework/object/kelunknown.h"

class IKelComponentManager;

class IKelComponent : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelComponent"; }

    // 0. Links the component to its host, which it borrows: from now on counting and services go through it.
    // May be called again; each call replaces the host.
    virtual void initialize(IKelComponentManager* core) = 0;

    // 1. Stops what initialize started; the link to the host stays.
    virtual void shutdown() = 0;

    // 2. Makes an object of the class. Returns 1 and the object with count 0: the caller takes the first
    // reference. A class that is not ours: returns 0 and writes null. No object could be made, for want of
    // memory or because its constructor failed: returns 1 and a null object, so test the pointer too.
    virtual std::int32_t createObject(const KelClassId& classId, IKelUnknown** out) = 0;

    // 3. Lives as long as the component's code.
    [[nodiscard]] virtual const std::string& version() const = 0;
};
