#include "framework/object/kelclassdescription.h"

#include "framework/object/hostlink.h"

namespace kel {

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
