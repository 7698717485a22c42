// Tells whether an object is still alive without keeping it alive. Obtained from KelShared::weakRef.
#pragma once

#include "framework/object/kelshared.h"

class KelWeakRef final : public KelShared {
public:
    explicit KelWeakRef(KelShared& target) : target_(&target) {}
    ~KelWeakRef() override = default;

    // A weak reference is its own weak reference.
    [[nodiscard]] KelWeakRef* weakRef() override { return this; }

    [[nodiscard]] KelShared* target() const noexcept {
        return target_;
    }  // borrowed; null once the object died

private:
    friend class KelShared;  // clears the target when the object dies

    KelShared* target_;
};
