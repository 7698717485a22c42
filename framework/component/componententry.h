// What a component library exports, in two lines (threads: any may enter):
//
//     extern "C" KEL_COMPONENT_EXPORT int EntryPoint(std::uint32_t* version, IKelComponent** component) {
//         return kel::enterComponent(version, component, [] { return new Shelves; });
//     }
#pragma once

#include <cstdint>

#include "framework/component/componentexport.h"

class IKelComponent;

namespace kel {

// How a host and EntryPoint talk; a host rejects any other number.
inline constexpr std::uint32_t kEntryProtocolVersion = 100;

// Hands out what `make` returns, a new component with count 0, of which the host takes the first reference.
// Returns 1 with *version and *component set. Returns 0, with both cleared, when `make` returns null or
// throws anything; 0, and writes nothing, when `component` is null. `version` must not be null. Lets nothing
// out.
template <class Make>
int enterComponent(std::uint32_t* version, IKelComponent** component, Make make) noexcept {
    if (component == nullptr) return 0;
    *version = 0;
    *component = nullptr;
    try {
        *component = make();
    } catch (...) {
        return 0;  // across a C entry nothing may fly
    }
    if (*component == nullptr) return 0;
    *version = kEntryProtocolVersion;
    return 1;
}

}  // namespace kel
