// The reference host: what an application without the framework embeds to run components.
//
//     kelhost::Host host;                                        // string support is ready
//     kelhost::Component component = host.load("lib/libmsxml_parser.so");
//     auto parser = component.create<IKelDOMXmlV2>(component.classNamed("MSDOMXml"));
//     if (!parser->loadFromFile(kelhost::fromUtf8("catalogue.xml"))) ...
//
// A component keeps its link to the host until the process ends. What stands behind a Host therefore lives as
// long, and the Host itself may go at any time. Threads: all operations may run together. Counting through
// the host is atomic.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponent.h"
#include "framework/object/ikelcomponentmanager.h"
#include "framework/object/iptr.h"

namespace kelhost {

class ComponentManager;

// What() names the library, class, interface or service that was refused, and why.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct ComponentClass {
    KelClassId id;
    std::string name;
};

// A component that a host has loaded and initialised. Copies share it.
class Component {
public:
    [[nodiscard]] const std::string& name() const { return inside_->name(); }
    [[nodiscard]] const std::string& version() const { return component_->version(); }
    [[nodiscard]] const KelClassId& classId() const { return *inside_->classId(); }
    [[nodiscard]] std::vector<ComponentClass> classes()
        const;  // sorted by name; not while another thread asks, too

    [[nodiscard]] KelClassId classNamed(const std::string& name) const;  // throws HostError

    // A new object of the class, through one of its interfaces. Throws HostError if the component has no such
    // class, or the class no such interface, and lets the constructor's exceptions through.
    template <class Interface>
    [[nodiscard]] IPtr<Interface> create(const KelClassId& classId) const {
        const IPtr<IKelUnknown> object = createObject(classId);
        auto* const part = kel::queryInterface<Interface>(object.get());
        if (part == nullptr) throwNoInterface(*object, Interface::interfaceName());
        return IPtr<Interface>(part);
    }

    [[nodiscard]] IKelComponent& interface() const noexcept {
        return *component_;
    }                                                                             // borrowed from this object
    [[nodiscard]] IKelCompInternal& inside() const noexcept { return *inside_; }  // likewise

private:
    friend class Host;
    explicit Component(IKelComponent& component);  // throws HostError if it lacks IKelCompInternal

    [[nodiscard]] IPtr<IKelUnknown> createObject(const KelClassId& classId) const;
    [[noreturn]] static void throwNoInterface(const IKelUnknown& object, const char* interfaceName);

    IPtr<IKelComponent> component_;
    IPtr<IKelCompInternal> inside_;
};

class Host {
public:
    // Offers IKelStrSupport, with UTF-8 as the 8-bit form. Becomes the process's own link to a host, too,
    // unless there is one: objects that the application itself implements are then counted atomically.
    Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // Loads a component library from a path and initialises its component with this host. Throws HostError.
    [[nodiscard]] Component load(const std::filesystem::path& library);

    // Offers a service under the name of its interface, to everybody or inside a named container, and keeps a
    // reference to it for good. Throws HostError if the service has no such interface or the name is taken
    // there; a service that nobody holds is then destroyed.
    void offer(const std::string& interfaceName, IKelUnknown& service);
    void offer(const std::string& containerName, const std::string& interfaceName, IKelUnknown& service);

    [[nodiscard]] std::vector<std::string> serviceNames() const;  // offered to everybody, sorted

    // What the self-test of a component reports, by its low byte.
    void setTestStatus(std::int32_t status);

    [[nodiscard]] IKelComponentManager& manager() const noexcept;  // lives until the process ends

private:
    ComponentManager* manager_;  // never destroyed, see above
};

}  // namespace kelhost
