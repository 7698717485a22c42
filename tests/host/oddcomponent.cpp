// Libraries that a host must reject, one for each ODD_ENTRY: what their EntryPoint returns stands there.
#include <cstdint>

class IKelComponent;

extern "C" __attribute__((visibility("default"))) int EntryPoint(std::uint32_t* version,
                                                                 IKelComponent** component);

extern "C" int EntryPoint(std::uint32_t* version, IKelComponent** component) {
    static int object = 0;
    *version = ODD_VERSION;
    // Not a component at all, which shows if it is used before the version is checked.
    *component = ODD_HAS_COMPONENT ? reinterpret_cast<IKelComponent*>(&object) : nullptr;
    return ODD_RESULT;
}
