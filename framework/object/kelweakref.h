// Reports whether an object is alive without keeping it so; from KelShared::weakRef. Threads: the object's.
#pragma once

#include "framework/object/kelshared.h"

class KelWeakRef final : public KelShared {
public:
    // For KelShared alone, which clears the target when the object dies.
    explicit KelWeakRef(KelShared& target) : target_(&target) {}
    ~KelWeakRef() override = default;

    // A weak reference is its own weak reference.
    [[nodiscard]] KelWeakRef* weakRef() override { return this; }

    // Borrowed; null once the object died.
    [[nodiscard]] KelShared* target() const noexcept { return target_; }

private:
    friend class KelShared;  // clears the target when the object dies

    KelShared* target_;
};
