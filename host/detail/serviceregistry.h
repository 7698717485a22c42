// Services by the name of their interface.
// Threads: all operations may run together.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

#include "framework/object/iptr.h"

namespace kelhost {

class ServiceRegistry {
public:
    // Takes a reference of its own, kept as long as the registry lives, so that what a lookup lent stays
    // good. Returns false, and changes nothing, if the name is taken by anything but a standard service,
    // which it replaces, or if the object has no interface of that name.
    [[nodiscard]] bool add(const std::string& interfaceName, IKelUnknown& service);

    // A service that `add` may replace. Nothing changes if the name is taken.
    void addStandard(const std::string& interfaceName, IKelUnknown& service);

    void withdraw(const std::string& interfaceName);  // the name is then free

    // 1 and the interface's part of the service, borrowed; 0 and null if there is none.
    std::int32_t lookUp(const std::string& interfaceName, void** out);

    [[nodiscard]] std::vector<std::string> names() const;  // sorted

private:
    struct Service {
        IPtr<IKelUnknown> object;  // not null, has the interface of its name
        bool isStandard;
    };

    mutable std::shared_mutex lock_;
    std::map<std::string, Service, std::less<>> services_;
    std::vector<IPtr<IKelUnknown>> withdrawn_;  // may still be in use
};

}  // namespace kelhost
