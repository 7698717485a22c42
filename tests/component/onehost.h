// A host that offers one service and counts plainly; linked while it lives.
#pragma once

#include <string>
#include <utility>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "framework/object/detail/resetobject.h"
#include "framework/object/hostlink.h"
#include "framework/object/ikelcomponentmanager.h"
#include "framework/object/implements.h"

namespace component_test {

class OneServiceHost final : public kel::Implements<OneServiceHost, IKelComponentManager> {
public:
    static constexpr const char* kClassName = "OneServiceHost";

    OneServiceHost(std::string name, IKelUnknown* service) : name_(std::move(name)), service_(service) {
        forgetServices();
        service_->addRef();  // the caller's own, whatever others count
        kel::hostCore = this;
    }
    ~OneServiceHost() override {
        forgetServices();
        service_->releaseNoDelete();
        kel::detail::resetHostLink();
    }

    std::int32_t lookupService(const std::string& name, void** out) override {
        if (name != name_) return 0;
        service_->queryInterface(name.c_str(), out, false);
        return 1;
    }
    std::int32_t testStatus() override { return 0; }
    void incrementCount(std::int32_t* count) override { ++*count; }
    bool decrementCount(std::int32_t* count) override { return --*count == 0; }
    IKelComponentContainer* container(const std::string&, std::int32_t) override { return nullptr; }

private:
    static void forgetServices() {
        kel::detail::resetStringSupport();
        kel::detail::resetTranslator();
    }

    std::string name_;
    IKelUnknown* service_;
};

}  // namespace component_test
