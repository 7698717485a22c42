// A pointer to a service of the host. It fills itself when it is made and is null when the host has no such
// service. Threads: a pointer belongs to one thread; the lookup is the host's.
#pragma once

#include "framework/object/hostlink.h"
#include "framework/object/iptr.h"

template <class T, class Unknown = IKelUnknown>
class SPtr final : public IPtr<T, Unknown> {
public:
    SPtr() {
        void* service = nullptr;
        (void)kel::lookupService(T::interfaceName(), &service);  // an absent service is a null pointer
        this->hold(static_cast<T*>(service));
    }
};
