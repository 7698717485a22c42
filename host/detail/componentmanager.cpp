// The host as components see it, and a component as the host sees it.
#include "host/detail/componentmanager.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

#include "host/component.h"

namespace kelhost {

namespace {

constexpr std::int32_t kDeadObject = -42;

}  // namespace

void ComponentManager::incrementCount(std::int32_t* count) {
    // A new reference is always made from one that exists, so nothing needs to be ordered before it.
    std::atomic_ref(*count).fetch_add(1, std::memory_order_relaxed);
}

bool ComponentManager::decrementCount(std::int32_t* count) {
    // The thread that destroys the object must see what the other holders did to it before they let go.
    if (std::atomic_ref(*count).fetch_sub(1, std::memory_order_acq_rel) != 1) return false;
    *count = kDeadObject;
    return true;
}

IKelComponentContainer* ComponentManager::container(const std::string& name, std::int32_t /*option*/) {
    const std::shared_lock guard(containersLock_);
    const auto found = containers_.find(name);
    return found == containers_.end() ? nullptr : found->second.get();
}

ServiceRegistry& ComponentManager::servicesOf(const std::string& containerName) {
    const std::unique_lock guard(containersLock_);
    IPtr<ComponentContainer>& container = containers_[containerName];
    if (!container) container = new ComponentContainer;
    return container->services();
}

void ComponentManager::addComponent(const Component& component) {
    const std::unique_lock guard(componentsLock_);
    components_.push_back(component);
}

std::optional<Component> ComponentManager::componentOf(const KelClassId& classId) const {
    const std::shared_lock guard(componentsLock_);
    const auto found = std::ranges::find(components_, classId, &Component::classId);
    return found == components_.end() ? std::nullopt : std::optional(*found);
}

std::vector<Component> ComponentManager::components() const {
    const std::shared_lock guard(componentsLock_);
    return components_;
}

Component::Component(IKelComponent& component)
    : component_(&component), inside_(kel::queryInterface<IKelCompInternal>(&component)) {
    if (!inside_) throw HostError(std::string(component.className()) + " has no interface IKelCompInternal");
    std::vector<ComponentClass> classes;
    KelClassId id;
    for (bool more = inside_->firstClass(&id); more; more = inside_->nextClass(&id)) {
        classes.push_back({id, inside_->classNameOf(id)});
    }
    std::ranges::sort(classes, {}, &ComponentClass::name);
    classes_ = std::make_shared<const std::vector<ComponentClass>>(std::move(classes));
}

KelClassId Component::classNamed(const std::string& name) const {
    const auto found = std::ranges::find(*classes_, name, &ComponentClass::name);
    if (found == classes_->end()) throw HostError("component " + this->name() + " has no class " + name);
    return found->id;
}

bool Component::hasClass(const KelClassId& classId) const noexcept {
    return std::ranges::find(*classes_, classId, &ComponentClass::id) != classes_->end();
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

}  // namespace kelhost
