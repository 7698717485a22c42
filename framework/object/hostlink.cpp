#include "framework/object/hostlink.h"

#include <utility>

#include "framework/object/detail/resetobject.h"
#include "framework/object/ikelcomponentmanager.h"

namespace kel {

constinit IKelComponentManager* hostCore = nullptr;

namespace {

constexpr std::int32_t kDeadObject = -42;

// Never destroyed: objects that outlive the statics still count and describe themselves.
std::string& containerNameStorage() {
    static auto& name = *new std::string;
    return name;
}

ComponentIdentity& identityStorage() {
    static auto& identity = *new ComponentIdentity;
    return identity;
}

}  // namespace

std::int32_t lookupService(const std::string& serviceName, void** out) {
    return lookupServiceIn(containerNameStorage(), serviceName, out);
}

std::int32_t lookupServiceIn(const std::string& containerName, const std::string& serviceName, void** out) {
    if (hostCore == nullptr) return 0;
    if (!containerName.empty()) {
        IKelComponentContainer* const container = hostCore->container(containerName, 0);
        if (container != nullptr && container->lookupService(serviceName, out) == 1) return 1;
    }
    return hostCore->lookupService(serviceName, out);
}

const std::string& containerName() {
    return containerNameStorage();
}
void setContainerName(const std::string& name) {
    containerNameStorage() = name;
}

const ComponentIdentity& componentIdentity() {
    return identityStorage();
}
void setComponentIdentity(ComponentIdentity identity) {
    identityStorage() = std::move(identity);
}

void incrementCount(std::int32_t* count) noexcept {
    if (hostCore != nullptr) {
        hostCore->incrementCount(count);
    } else {
        ++*count;
    }
}

bool decrementCount(std::int32_t* count) noexcept {
    if (hostCore != nullptr) return hostCore->decrementCount(count);
    if (--*count != 0) return false;
    *count = kDeadObject;
    return true;
}

namespace detail {

void resetHostLink() {
    hostCore = nullptr;
    containerNameStorage().clear();
}

}  // namespace detail
}  // namespace kel
