// A host for tests: services and containers by name, counting that can be watched. While it lives it is the
// host.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "framework/object/detail/resetobject.h"
#include "framework/object/hostlink.h"
#include "framework/object/ikelcomponentmanager.h"
#include "framework/object/implements.h"

class FakeContainer final : public kel::Implements<FakeContainer, IKelComponentContainer> {
public:
    static constexpr const char* kClassName = "FakeContainer";

    template <class Service>
    void offer(Service& service) {
        services[Service::interfaceName()] = &service;
    }

    std::int32_t lookupService(const std::string& name, void** out) override {
        lookups.push_back(name);
        const auto found = services.find(name);
        if (found == services.end()) return 0;
        *out = found->second;
        return 1;
    }

    std::map<std::string, void*> services;
    std::vector<std::string> lookups;
};

class FakeHost final : public kel::Implements<FakeHost, IKelComponentManager> {
public:
    static constexpr const char* kClassName = "FakeHost";

    FakeHost() { kel::hostCore = this; }
    ~FakeHost() override { kel::detail::resetHostLink(); }

    template <class Service>
    void offer(Service& service) {
        own.offer(service);
    }

    std::int32_t lookupService(const std::string& name, void** out) override {
        return own.lookupService(name, out);
    }
    std::int32_t testStatus() override { return status; }
    void incrementCount(std::int32_t* count) override {
        ++*count;
        ++increments;
    }
    bool decrementCount(std::int32_t* count) override {
        ++decrements;
        return --*count == 0;
    }
    IKelComponentContainer* container(const std::string& name, std::int32_t option) override {
        containerOption = option;
        return name == "ours" ? &named : nullptr;
    }

    FakeContainer own;
    FakeContainer named;  // the container "ours"
    std::int32_t status = 0;
    std::int32_t containerOption = -1;
    int increments = 0;
    int decrements = 0;
};
