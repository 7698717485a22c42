#include "host/component.h"

#include <algorithm>
#include <utility>

namespace kelhost {

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
