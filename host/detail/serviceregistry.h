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
    // good. Returns false, and changes nothing, if the name is taken or the object does not answer to it.
    [[nodiscard]] bool add(const std::string& interfaceName, IKelUnknown& service);

    // 1 and the interface's part of the service, borrowed; 0 and null if there is none.
    std::int32_t lookUp(const std::string& interfaceName, void** out);

    [[nodiscard]] std::vector<std::string> names() const;  // sorted

private:
    mutable std::shared_mutex lock_;
    std::map<std::string, IPtr<IKelUnknown>, std::less<>>
        services_;  // none is null, each answers to its name
};

}  // namespace kelhost
