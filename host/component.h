// A component that a host has loaded and initialised, and the objects it makes.
// Threads: all operations may run together, as far as the component itself allows.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponent.h"
#include "framework/object/iptr.h"

namespace kelhost {

// What() names the library, class, interface or service that was rejected, and why.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A class that a component can make objects of.
struct ComponentClass {
    KelClassId id;     // as create wants it
    std::string name;  // as classNamed wants it
};

// Copies share the component, which stays loaded until the process ends.
class Component {
public:
    // As the component states them; they live as long as the process.
    [[nodiscard]] const std::string& name() const { return inside_->name(); }
    [[nodiscard]] const std::string& version() const { return component_->version(); }
    [[nodiscard]] const KelClassId& classId() const { return *inside_->classId(); }

    // Sorted by name.
    [[nodiscard]] const std::vector<ComponentClass>& classes() const noexcept { return *classes_; }
    [[nodiscard]] KelClassId classNamed(const std::string& name) const;     // throws HostError
    [[nodiscard]] bool hasClass(const KelClassId& classId) const noexcept;  // among `classes`

    // A new object of the class, through one of its interfaces. Throws HostError if the component has no such
    // class, or the class no such interface, and lets the constructor's exceptions through.
    template <class Interface>
    [[nodiscard]] IPtr<Interface> create(const KelClassId& classId) const {
        const IPtr<IKelUnknown> object = createObject(classId);
        auto* const part = kel::queryInterface<Interface>(object.get());
        if (part == nullptr) throwNoInterface(*object, Interface::interfaceName());
        return IPtr<Interface>(part);
    }
    template <class Interface>
    [[nodiscard]] IPtr<Interface> create(const std::string& className) const {
        return create<Interface>(classNamed(className));
    }

    // Borrowed from this object.
    [[nodiscard]] IKelComponent& component() const noexcept { return *component_; }
    [[nodiscard]] IKelCompInternal& inside() const noexcept { return *inside_; }

private:
    friend class Host;
    explicit Component(IKelComponent& component);  // throws HostError if it lacks IKelCompInternal

    [[nodiscard]] IPtr<IKelUnknown> createObject(const KelClassId& classId) const;
    [[noreturn]] static void throwNoInterface(const IKelUnknown& object, const char* interfaceName);

    IPtr<IKelComponent> component_;
    IPtr<IKelCompInternal> inside_;
    std::shared_ptr<const std::vector<ComponentClass>>
        classes_;  // listed once: a listing is no business of two threads
};

}  // namespace kelhost
