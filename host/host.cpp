#include "host/host.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "framework/object/hostlink.h"
#include "host/detail/componentmanager.h"
#include "host/detail/icustrsupport.h"
#include "host/platform/sharedlibrary.h"

namespace kelhost {

namespace {

constexpr std::uint32_t kEntryProtocolVersion = 100;

using EntryPointFunction = int (*)(std::uint32_t* version, IKelComponent** component);

// Managers are kept in a list that is never destroyed: components point at them until the very end of the
// process.
ComponentManager* makeImmortalManager() {
    static auto& managers = *new std::vector<IPtr<ComponentManager>>;
    static auto& lock = *new std::mutex;
    const std::lock_guard guard(lock);
    return managers.emplace_back(new ComponentManager).get();
}

IKelComponent& enter(EntryPointFunction entryPoint, const std::string& library) {
    std::uint32_t version = 0;
    IKelComponent* component = nullptr;
    if (entryPoint(&version, &component) == 0 || component == nullptr) {
        throw HostError(library + ": EntryPoint made no component");
    }
    if (version != kEntryProtocolVersion) {
        throw HostError(library + ": EntryPoint speaks protocol version " + std::to_string(version) +
                        ", this host " + std::to_string(kEntryProtocolVersion));
    }
    return *component;
}

void offerIn(ServiceRegistry& registry, const std::string& interfaceName, IKelUnknown& service) {
    // Held while it is looked at: refused, a service that nobody else holds goes away, but not before it is
    // named.
    const IPtr<IKelUnknown> held(&service);
    if (registry.add(interfaceName, service)) return;
    throw HostError("service " + interfaceName + ": offered already, or " + service.className() +
                    " has no such interface");
}

}  // namespace

Component::Component(IKelComponent& component)
    : component_(&component), inside_(kel::queryInterface<IKelCompInternal>(&component)) {
    if (!inside_) throw HostError(std::string(component.className()) + " has no interface IKelCompInternal");
}

std::vector<ComponentClass> Component::classes() const {
    std::vector<ComponentClass> classes;
    KelClassId id;
    for (bool more = inside_->firstClass(&id); more; more = inside_->nextClass(&id)) {
        classes.push_back({id, inside_->classNameOf(id)});
    }
    std::ranges::sort(classes, {}, &ComponentClass::name);
    return classes;
}

KelClassId Component::classNamed(const std::string& name) const {
    for (const ComponentClass& candidate : classes()) {
        if (candidate.name == name) return candidate.id;
    }
    throw HostError("component " + this->name() + " has no class " + name);
}

IPtr<IKelUnknown> Component::createObject(const KelClassId& classId) const {
    IKelUnknown* object = nullptr;
    const bool known = component_->createObject(classId, &object) != 0;
    if (!known || object == nullptr)
        throw HostError("component " + name() + " makes no object of this class");
    return IPtr<IKelUnknown>(object);
}

void Component::throwNoInterface(const IKelUnknown& object, const char* interfaceName) {
    throw HostError(std::string(object.className()) + " has no interface " + interfaceName);
}

Host::Host() : manager_(makeImmortalManager()) {
    if (kel::hostCore == nullptr) kel::hostCore = manager_;
    offer(IKelStrSupport::interfaceName(), *new IcuStrSupport);
}

Component Host::load(const std::filesystem::path& library) {
    const std::string name = library.string();
    try {
        void* const entryPoint = loadSymbol(library, "EntryPoint");
        // The system's loader knows no types; the name stands for this one.
        IKelComponent& entered = enter(reinterpret_cast<EntryPointFunction>(entryPoint), name);
        Component component(entered);
        component.component_->initialize(manager_);
        return component;
    } catch (const HostError&) {
        throw;
    } catch (const std::exception& error) {
        throw HostError("cannot load the component: " + std::string(error.what()));
    }
}

void Host::offer(const std::string& interfaceName, IKelUnknown& service) {
    offerIn(manager_->services(), interfaceName, service);
}

void Host::offer(const std::string& containerName, const std::string& interfaceName, IKelUnknown& service) {
    offerIn(manager_->servicesOf(containerName), interfaceName, service);
}

std::vector<std::string> Host::serviceNames() const {
    return manager_->services().names();
}

void Host::setTestStatus(std::int32_t status) {
    manager_->setTestStatus(status);
}

IKelComponentManager& Host::manager() const noexcept {
    return *manager_;
}

}  // namespace kelhost
