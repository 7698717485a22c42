// Holds one reference to an object through one of its interfaces.
// Threads: a pointer belongs to one thread; the count behind it is as atomic as the host makes it.
#pragma once

#include "framework/object/kelunknown.h"

template <class T, class Unknown = IKelUnknown>
class IPtr {
public:
    IPtr() noexcept = default;
    explicit IPtr(T* object) noexcept { assign(object); }  // takes a reference of its own
    IPtr(const IPtr& other) noexcept { assign(other.ptr_); }
    IPtr(IPtr&& other) noexcept : ptr_(other.ptr_), unk_(other.unk_) { other.forget(); }
    virtual ~IPtr() { releaseHeld(); }

    IPtr& operator=(T* object) noexcept {
        assign(object);
        return *this;
    }
    IPtr& operator=(const IPtr& other) noexcept {  // NOLINT(bugprone-unhandled-self-assignment): see assign
        assign(other.ptr_);
        return *this;
    }
    IPtr& operator=(IPtr&& other) noexcept {
        if (this == &other) return *this;
        releaseHeld();
        ptr_ = other.ptr_;
        unk_ = other.unk_;
        other.forget();
        return *this;
    }

    // Borrowed; null when nothing is held. The operators do not check.
    [[nodiscard]] T* get() const noexcept { return ptr_; }
    [[nodiscard]] T* operator->() const noexcept { return ptr_; }
    [[nodiscard]] T& operator*() const noexcept { return *ptr_; }
    [[nodiscard]] explicit operator bool() const noexcept { return ptr_ != nullptr; }

    void reset() noexcept { releaseHeld(); }  // gives the reference back; nothing is held afterwards

protected:
    // Takes the reference to an object that came without one.
    void hold(T* object) noexcept {
        ptr_ = object;
        unk_ = object;
        if (unk_ != nullptr) unk_->addRef();
    }

    // Gives back the reference, if there is one.
    void releaseHeld() noexcept {
        if (unk_ != nullptr) unk_->release();
        forget();
    }

private:
    // The new reference comes first, so that assigning the pointer already held keeps the object alive.
    void assign(T* object) noexcept {
        Unknown* const unknown = object;
        if (unknown != nullptr) unknown->addRef();
        releaseHeld();
        ptr_ = object;
        unk_ = unknown;
    }

    void forget() noexcept {
        ptr_ = nullptr;
        unk_ = nullptr;
    }

    T* ptr_ = nullptr;
    Unknown* unk_ = nullptr;
};
