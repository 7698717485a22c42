// A counted reference to a COM object. Objects of this engine start with a count of 1, so a new one enters
// through `adopt`. Threads: as the object it refers to.
#pragma once

#include <utility>

namespace engine::com {

template <typename T>
class Ref final {
public:
    Ref() noexcept = default;
    Ref(const Ref& other) noexcept : object_(other.object_) {
        if (object_ != nullptr) object_->AddRef();
    }
    Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ref& operator=(
        Ref other) noexcept {  // by value: the new object is in place before the old one is released
        std::swap(object_, other.object_);
        return *this;
    }
    ~Ref() {
        if (object_ != nullptr) object_->Release();
    }

    [[nodiscard]] static Ref adopt(T* object) noexcept {  // takes over a count
        Ref result;
        result.object_ = object;
        return result;
    }
    [[nodiscard]] static Ref share(T* object) noexcept {  // adds a count
        if (object != nullptr) object->AddRef();
        return adopt(object);
    }

    [[nodiscard]] T* get() const noexcept { return object_; }
    [[nodiscard]] T* detach() noexcept {
        return std::exchange(object_, nullptr);
    }  // the count goes to the caller
    // For out-parameters: releases what is held and takes over what is written.
    [[nodiscard]] T** receive() noexcept {
        *this = Ref();
        return &object_;
    }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

private:
    T* object_ = nullptr;
};

// A new object that counts from 1, and its first count.
template <typename T, typename... Arguments>
[[nodiscard]] Ref<T> make(Arguments&&... arguments) {
    return Ref<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace engine::com
