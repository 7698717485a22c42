// Gives an implementation class its interfaces, its lookup by name and its class name:
//
//     class Shelf final : public kel::Implements<Shelf, IKelShelf, IKelShelfV2> {
//     public:
//         static constexpr const char* kClassName = "Shelf";
//         static constexpr bool kIsHidden = true;  // only for a class that describes nothing of itself
//         ...
//
// The lookup tries the class's own name (which gives the object itself), "IKelUnknown", then the
// interfaces in the order given here. Threads: it reads constants only.
//
// What a class says of itself is a contract. An interface that it is given later is found by its name, but
// not described:
//
//     class Shelf final : public kel::Implements<Shelf, IKelShelf>, public virtual IKelShelfV2 {
//     public:
//         using Later = kel::InterfaceList<IKelShelfV2>;
#pragma once

#include <array>
#include <span>

#include "framework/object/kelclassdescription.h"
#include "framework/object/kelunknown.h"

namespace kel {

// A name and the pointer to hand out for it.
struct LookupCandidate {
    const char* name;  // exact, static
    void* part;        // the object as this interface
};

// `self` is the class under its own name; the interfaces follow in order. Sets *out to null or to a part.
void lookUpPart(const LookupCandidate& self, IKelUnknown& unknown,
                std::span<const LookupCandidate> interfaces, const char* name, void** out);

// Records the class and its interfaces, or nothing for a hidden class.
void describeCandidates(bool isHidden, const char* className, std::span<const char* const> interfaceNames,
                        KelClassDescription& description);

// Asks an object to describe its class; what it says is added to the description.
void describeClass(IKelUnknown& object, KelClassDescription& description);

// Interfaces as one type.
template <class... Interfaces>
struct InterfaceList {};

template <class Class, class... Interfaces>
class Implements : public virtual Interfaces... {
public:
    using NamedClass = Class;  // what the lookup hands out under Class::kClassName

    void queryInterface(const char* name, void** out, bool /*flag*/) override {
        if (name == nullptr) {
            static constexpr std::array<const char*, sizeof...(Interfaces)> kNames{
                Interfaces::interfaceName()...};
            // A null name turns the output into the address of a description.
            describeCandidates(isHidden(), Class::kClassName, kNames,
                               *reinterpret_cast<KelClassDescription*>(out));
            return;
        }
        lookUp(InterfaceList<Interfaces...>(), name, out);
        if constexpr (requires { typename Class::Later; }) {
            if (*out == nullptr) lookUp(typename Class::Later(), name, out);
        }
    }

    [[nodiscard]] const char* className() const noexcept override { return Class::kClassName; }

private:
    template <class... Listed>
    void lookUp(InterfaceList<Listed...>, const char* name, void** out) {
        auto* const object = static_cast<Class*>(this);
        const std::array<LookupCandidate, sizeof...(Listed)> interfaces{
            LookupCandidate{Listed::interfaceName(), static_cast<Listed*>(object)}...};
        lookUpPart({Class::kClassName, object}, *object, interfaces, name, out);
    }

    static constexpr bool isHidden() noexcept {
        if constexpr (requires { Class::kIsHidden; }) {
            return Class::kIsHidden;
        } else {
            return false;
        }
    }
};

}  // namespace kel
