// Reference counting and the link to the object's weak reference.
// Counts start at 0: `new` hands out an object without a holder, and the first holder's addRef makes
// it 1. Threads: counting goes through the host once there is one (see hostlink.h) and is then as atomic as
// the host makes it; without a host it is plain, so an object then belongs to one thread. weakRef is never
// guarded.
#pragma once

#include <cstdint>

#include "framework/object/kelobject.h"

class KelWeakRef;

class KelShared : public KelObject {
public:
    KelShared() = default;
    ~KelShared() override;  // an object that dies without a last release still detaches its weak reference

    // One reference more; the caller owes a release.
    virtual void addRef() noexcept;

    // The release that brings the count to 0 detaches the weak reference and destroys the object.
    // At count 0 a further release gives -1 and destroys nothing.
    virtual void release() noexcept;

    // As release, but never destroys: for members of other objects and for statics.
    virtual void releaseNoDelete() noexcept;

    // Without a host, the count of an object that reached 0 reads -42 from then on.
    [[nodiscard]] virtual std::int32_t refCount() const noexcept;

    // Made on the first call, the same one ever after; this object holds its only reference. Callers that
    // keep it beyond this object's life addRef it.
    [[nodiscard]] virtual KelWeakRef* weakRef();

private:
    [[nodiscard]] bool dropReference() noexcept;
    void detachWeakRef() noexcept;

    std::int32_t count_ = 0;
    KelWeakRef* weakLink_ = nullptr;
};
