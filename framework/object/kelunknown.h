// Root of every interface. Threads: lookup any; counting as KelShared says.
// Every interface derives from it as a virtual base, so an object has one count however many interfaces it
// has. An interface declares no destructor: its own table then starts with its first operation.
#pragma once

#include <type_traits>

#include "framework/object/kelshared.h"

class IKelUnknown : public KelShared {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelUnknown"; }

    // Returns in *out the part of this object that has this name, null if it has none; the comparison is
    // exact. Adds no reference: a caller that keeps the pointer calls addRef. `flag` is ignored. With a null
    // name, `out` is the address of a KelClassDescription instead, which is filled (kel::describeClass says
    // it with types).
    virtual void queryInterface(const char* name, void** out, bool flag) = 0;

    [[nodiscard]] virtual const char* className() const noexcept = 0;  // static text
};

namespace kel {

// The object's part of type T, borrowed; null for a null object and for one that has no such part.
// T is an interface (it has an interfaceName) or an implementation class (it has a kClassName).
template <class T>
[[nodiscard]] T* queryInterface(IKelUnknown* object) {
    void* part = nullptr;
    if (object == nullptr) return nullptr;
    if constexpr (requires { T::kClassName; }) {
        if constexpr (requires { typename T::NamedClass; }) {
            static_assert(
                std::is_same_v<T, typename T::NamedClass>,
                "T has inherited its name: the lookup would hand out the class that it derives from");
        }
        object->queryInterface(T::kClassName, &part, false);
    } else {
        object->queryInterface(T::interfaceName(), &part, false);
    }
    return static_cast<T*>(part);
}

}  // namespace kel
