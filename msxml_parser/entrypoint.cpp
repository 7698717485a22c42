#include "msxml_parser/entrypoint.h"

#include "framework/component/componentstate.h"
#include "framework/component/ikelcomponentfactory.h"

namespace {

// The component handed out last; for debuggers.
[[maybe_unused]] constinit IKelComponent* theComponent = nullptr;

}  // namespace

int EntryPoint(std::uint32_t* version, IKelComponent** component) {
    constexpr std::uint32_t kEntryProtocolVersion = 100;
    if (component == nullptr || kel::componentFactory == nullptr) return 0;
    IKelComponent* created = nullptr;  // a local: another thread may be storing its own
    try {
        created = kel::componentFactory->createComponent();
    } catch (...) {
        *version = 0;
        *component = nullptr;
        return 0;
    }
    theComponent = created;
    *component = created;
    *version = kEntryProtocolVersion;
    return 1;
}
