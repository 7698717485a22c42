#include "host/detail/serviceregistry.h"

#include <utility>

namespace kelhost {

bool ServiceRegistry::add(const std::string& interfaceName, IKelUnknown& service) {
    void* part = nullptr;
    service.queryInterface(interfaceName.c_str(), &part, false);
    if (part == nullptr) return false;
    const std::unique_lock guard(lock_);
    const auto [place, isNew] =
        services_.try_emplace(interfaceName, Service{IPtr<IKelUnknown>(&service), false});
    if (isNew) return true;
    if (!place->second.isStandard) return false;
    withdrawn_.push_back(place->second.object);
    place->second = {IPtr<IKelUnknown>(&service), false};
    return true;
}

void ServiceRegistry::addStandard(const std::string& interfaceName, IKelUnknown& service) {
    const IPtr<IKelUnknown> held(&service);
    const std::unique_lock guard(lock_);
    services_.try_emplace(interfaceName, Service{held, true});
}

void ServiceRegistry::withdraw(const std::string& interfaceName) {
    const std::unique_lock guard(lock_);
    const auto found = services_.find(interfaceName);
    if (found == services_.end()) return;
    withdrawn_.push_back(std::move(found->second.object));
    services_.erase(found);
}

std::int32_t ServiceRegistry::lookUp(const std::string& interfaceName, void** out) {
    *out = nullptr;
    const std::shared_lock guard(lock_);
    const auto found = services_.find(interfaceName);
    if (found == services_.end()) return 0;
    found->second.object->queryInterface(interfaceName.c_str(), out, false);
    return 1;
}

std::vector<std::string> ServiceRegistry::names() const {
    const std::shared_lock guard(lock_);
    std::vector<std::string> names;
    names.reserve(services_.size());
    for (const auto& [name, service] : services_) names.push_back(name);
    return names;
}

}  // namespace kelhost
