// The lookup of interfaces by name, and the description of classes that goes the same way.
#include "framework/object/implements.h"

#include <cstring>

#include "framework/object/hostlink.h"
#include "framework/object/kelclassdescription.h"

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

std::uint32_t NameHash::operator()(const std::string& name) const noexcept {
    std::uint32_t hash = 5381;
    for (const char* byte = name.c_str(); *byte != '\0'; ++byte) {
        hash = hash * 33 + static_cast<unsigned char>(*byte);
    }
    return hash;
}

}  // namespace kel

namespace {

void fillIdentity(KelComponentIdentity& identity) {
    if (identity.componentName != nullptr && !identity.componentName->empty()) return;  // written once
    identity.componentName = &kel::componentIdentity().name;
    identity.containerName = &kel::containerName();
    identity.classId = kel::componentIdentity().classId;
}

}  // namespace

KelClassDescription::KelClassDescription(KelComponentIdentity* identity) : identity_(identity) {
    for (const char* const name : {"IKelComponent", "IKelComponentManager", "IKelComponentLoader",
                                   "IKelComponentContainer", "OxaComponentManager"}) {
        stopNames_.insert(name);
    }
}

void KelClassDescription::record(const char* name, KelClassEntryKind kind) {
    if (identity_ != nullptr) {
        fillIdentity(*identity_);
    } else if (!isComplete_) {
        list(name, kind);
    }
}

void KelClassDescription::list(const char* name, KelClassEntryKind kind) {
    if (stopNames_.contains(name)) {
        isComplete_ = true;
        classes_.clear();
        entries_.clear();
        return;
    }
    const KelClassEntry* const latestClass = classes_.at(classes_.count());
    KelClassEntry entry{name, kind, latestClass == nullptr ? std::string() : latestClass->name};
    if (kind == KelClassEntryKind::Class) classes_.append(entry);
    entries_.append(std::move(entry));
}
