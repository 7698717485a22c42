// The host as components see it: counting, services, containers.
// Threads: all operations may run together.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <utility>
#include <vector>

#include "framework/object/ikelcomponentmanager.h"
#include "framework/object/implements.h"
#include "framework/object/iptr.h"
#include "host/component.h"
#include "host/detail/serviceregistry.h"
#include "host/detail/standardservices.h"

namespace kelhost {

class MemoryLimit;

class ComponentContainer final : public kel::Implements<ComponentContainer, IKelComponentContainer> {
public:
    static constexpr const char* kClassName = "ComponentContainer";

    std::int32_t lookupService(const std::string& serviceName, void** out) override {
        return services_.lookUp(serviceName, out);
    }

    [[nodiscard]] ServiceRegistry& services() noexcept { return services_; }

private:
    ServiceRegistry services_;
};

class ComponentManager final : public kel::Implements<ComponentManager, IKelComponentManager> {
public:
    static constexpr const char* kClassName = "ComponentManager";

    explicit ComponentManager(StandardServices standard) : standard_(std::move(standard)) {}

    std::int32_t lookupService(const std::string& serviceName, void** out) override {
        return services_.lookUp(serviceName, out);
    }

    std::int32_t testStatus() override { return testStatus_; }
    void setTestStatus(std::int32_t status) noexcept { testStatus_ = status; }

    // Set once, before anything else is done with this host; never destroyed.
    void setMemoryLimit(MemoryLimit& limit) noexcept { memoryLimit_ = &limit; }
    [[nodiscard]] MemoryLimit& memoryLimit() noexcept { return *memoryLimit_; }

    // Atomic. A count that reaches zero is left at -42, the mark of a dead object, as it is without a host.
    void incrementCount(std::int32_t* count) override;
    bool decrementCount(std::int32_t* count) override;

    IKelComponentContainer* container(const std::string& name, std::int32_t option) override;

    [[nodiscard]] ServiceRegistry& services() noexcept { return services_; }
    [[nodiscard]] ServiceRegistry& servicesOf(const std::string& containerName);  // made on the first call
    [[nodiscard]] const StandardServices& standard() const noexcept { return standard_; }

    // One library at a time: a component is entered, initialised and listed before the next one is.
    [[nodiscard]] std::mutex& loadingLock() noexcept { return loadingLock_; }

    void addComponent(const Component& component);
    [[nodiscard]] std::optional<Component> componentOf(
        const KelClassId& classId) const;  // the component's own
    [[nodiscard]] std::vector<Component> components() const;

private:
    StandardServices standard_;
    ServiceRegistry services_;
    std::mutex loadingLock_;
    mutable std::shared_mutex componentsLock_;
    std::vector<Component> components_;  // none is ever removed
    std::shared_mutex containersLock_;
    std::map<std::string, IPtr<ComponentContainer>, std::less<>> containers_;  // none is ever removed
    std::atomic<std::int32_t> testStatus_ = 0;
    MemoryLimit* memoryLimit_ = nullptr;
};

}  // namespace kelhost
