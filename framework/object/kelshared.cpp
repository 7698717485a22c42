#include "framework/object/kelshared.h"

#include "framework/object/hostlink.h"
#include "framework/object/kelweakref.h"

KelShared::~KelShared() {
    detachWeakRef();
}

void KelShared::addRef() noexcept {
    kel::incrementCount(&count_);
}

void KelShared::release() noexcept {
    if (dropReference()) delete this;
}

void KelShared::releaseNoDelete() noexcept {
    (void)dropReference();  // the storage has another owner
}

std::int32_t KelShared::refCount() const noexcept {
    return count_;
}

KelWeakRef* KelShared::weakRef() {
    if (weakLink_ == nullptr) {
        weakLink_ = new KelWeakRef(*this);
        weakLink_->addRef();
    }
    return weakLink_;
}

bool KelShared::dropReference() noexcept {
    if (!kel::decrementCount(&count_)) return false;
    detachWeakRef();
    return true;
}

void KelShared::detachWeakRef() noexcept {
    if (weakLink_ == nullptr) return;
    weakLink_->target_ = nullptr;
    weakLink_->release();
    weakLink_ = nullptr;
}
