#include "host/detail/serviceregistry.h"

namespace kelhost {

bool ServiceRegistry::add(const std::string& interfaceName, IKelUnknown& service) {
    void* part = nullptr;
    service.queryInterface(interfaceName.c_str(), &part, false);
    if (part == nullptr) return false;
    const std::unique_lock guard(lock_);
    return services_.try_emplace(interfaceName, &service).second;
}

std::int32_t ServiceRegistry::lookUp(const std::string& interfaceName, void** out) {
    *out = nullptr;
    const std::shared_lock guard(lock_);
    const auto found = services_.find(interfaceName);
    if (found == services_.end()) return 0;
    found->second->queryInterface(interfaceName.c_str(), out, false);
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
