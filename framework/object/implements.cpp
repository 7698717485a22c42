#include "framework/object/implements.h"

#include <cstring>

namespace kel {

namespace {

bool isSameName(const char* a, const char* b) {
    return std::strcmp(a, b) == 0;
}

}  // namespace

void lookUpPart(const LookupCandidate& self, IKelUnknown& unknown,
                std::span<const LookupCandidate> interfaces, const char* name, void** out) {
    *out = nullptr;
    if (isSameName(name, self.name)) {
        *out = self.part;
    } else if (isSameName(name, IKelUnknown::interfaceName())) {
        *out = &unknown;
    }
    for (const LookupCandidate& candidate : interfaces) {
        if (*out != nullptr) return;
        if (isSameName(name, candidate.name)) *out = candidate.part;
    }
}

void describeCandidates(bool isHidden, const char* className, std::span<const char* const> interfaceNames,
                        KelClassDescription& description) {
    if (isHidden) return;
    description.record(className, KelClassEntryKind::Class);
    for (const char* const name : interfaceNames) description.record(name, KelClassEntryKind::Interface);
}

void describeClass(IKelUnknown& object, KelClassDescription& description) {
    object.queryInterface(nullptr, reinterpret_cast<void**>(&description), false);
}

}  // namespace kel
