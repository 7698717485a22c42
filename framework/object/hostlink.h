// The process-wide link between a component and its host: counting, services by name, and who the component
// is. All of it is set while the component is loaded or initialised, before other threads come in, and only
// read afterwards; nothing here locks.
#pragma once

#include <cstdint>
#include <string>

#include "framework/object/kelclassid.h"

class IKelComponentManager;

namespace kel {

// The host, borrowed; null until the host initialises the component. The setter keeps it alive.
extern IKelComponentManager* hostCore;

// Looks a service up by the name of its interface: in the host's container of our name if we have one, then
// in the host itself. Returns 1 when found: *out is then the interface's part of the service. Without a host
// returns 0 and leaves *out alone. Adds no reference.
[[nodiscard]] std::int32_t lookupService(const std::string& serviceName, void** out);

// The same with a container that the caller names; empty: none.
[[nodiscard]] std::int32_t lookupServiceIn(const std::string& containerName, const std::string& serviceName,
                                           void** out);

// The container that is asked first; empty at load, which means none.
[[nodiscard]] const std::string& containerName();
void setContainerName(const std::string& name);

// Who the component is. A component states it while it is loaded; the texts are then never moved.
struct ComponentIdentity {
    std::string name;     // "msxml_parser"
    std::string version;  // four numbers with points
    KelClassId classId;   // the component's own, not one of its classes'
};

// Empty until a component states it.
[[nodiscard]] const ComponentIdentity& componentIdentity();
void setComponentIdentity(ComponentIdentity identity);

// Reference counting as the host does it, or plain without a host. decrementCount says whether the count
// reached zero; without a host it then leaves -42, a count that no live object can have.
void incrementCount(std::int32_t* count) noexcept;
[[nodiscard]] bool decrementCount(std::int32_t* count) noexcept;

}  // namespace kel
