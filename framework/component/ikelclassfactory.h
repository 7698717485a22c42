// Makes objects by class identifier; enumerates its classes. Not counted. Threads: create may run on any.
#pragma once

#include <cstdint>

#include "framework/object/kelclassid.h"

class IKelUnknown;

class IKelClassFactory {
public:
    // 0.
    virtual ~IKelClassFactory() = default;

    // 1. Returns 1 and the new object, with count 0, in *out (null when none could be made, so test the
    // pointer too). An unknown class: returns 0 and leaves *out alone.
    virtual std::int32_t create(const KelClassId& id, IKelUnknown** out) = 0;

    // 2. How many classes there are.
    [[nodiscard]] virtual std::int32_t classCount() const = 0;

    // 3. and 4. One enumeration at a time, in no particular order; false when there is no (further) class,
    // and *id is then left alone.
    virtual bool firstClass(KelClassId* id) = 0;
    virtual bool nextClass(KelClassId* id) = 0;

    // 5. Static text; null if unknown.
    [[nodiscard]] virtual const char* classNameOf(const KelClassId& id) const = 0;
};
