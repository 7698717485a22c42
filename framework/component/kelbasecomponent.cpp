#include "framework/component/kelbasecomponent.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "framework/component/componentstate.h"
#include "framework/component/detail/componentstate.h"
#include "framework/component/ikelcomponentcustomizer.h"

namespace {

constexpr std::size_t kNoClass = std::numeric_limits<std::size_t>::max();

}  // namespace

KelBaseComponent::KelBaseComponent(kel::ComponentIdentity identity, IKelComponentCustomizer* customizer)
    : identity_(std::move(identity)),
      customizer_(customizer),
      cursor_(kNoClass),
      isBreakEnabled_(kel::isBreakEnabled()) {}

KelBaseComponent::~KelBaseComponent() = default;

void KelBaseComponent::initialize(IKelComponentManager* core) {
    if (kel::componentIdentity().name.empty()) kel::setComponentIdentity(identity_);
    kel::hostCore = core;
    if (customizer_ != nullptr) customizer_->start();
}

void KelBaseComponent::shutdown() {
    if (customizer_ != nullptr) customizer_->stop();
}

std::int32_t KelBaseComponent::createObject(const KelClassId& classId, IKelUnknown** out) {
    *out = nullptr;
    const ClassEntry* const entry = find(classId);
    if (entry == nullptr) return 0;
    try {
        *out = entry->maker();
    } catch (const std::bad_alloc&) {
        // The class is known all the same; a null object says that there was no memory.
    }
    return 1;
}

const std::string& KelBaseComponent::version() const {
    return identity_.version;
}
const KelClassId* KelBaseComponent::classId() const {
    return &identity_.classId;
}
const std::string& KelBaseComponent::name() const {
    return identity_.name;
}

std::int32_t KelBaseComponent::classCount() const {
    return static_cast<std::int32_t>(classes_.size());
}

bool KelBaseComponent::firstClass(KelClassId* id) {
    cursor_ = 0;
    return nextClass(id);
}

bool KelBaseComponent::nextClass(KelClassId* id) {
    if (cursor_ >= classes_.size()) return false;
    *id = classes_[cursor_++].id;
    return true;
}

const char* KelBaseComponent::classNameOf(const KelClassId& id) const {
    const ClassEntry* const entry = find(id);
    return entry == nullptr ? nullptr : entry->name;
}

void KelBaseComponent::selfTest(IKelTestReceiver* receiver) {
    kel::detail::runSelfTest(isSelfTestRunning_, testClasses_, receiver);
}

void KelBaseComponent::setContainerName(const std::string& name) {
    containerName_ = name;
}
const std::string& KelBaseComponent::containerName() const {
    return containerName_;
}
void KelBaseComponent::setBreakEnabled(bool on) {
    isBreakEnabled_ = on;
}
bool KelBaseComponent::isBreakEnabled() const {
    return isBreakEnabled_;
}

std::int32_t KelBaseComponent::lookupService(const std::string& serviceName, void** out) const {
    return kel::lookupServiceIn(containerName_, serviceName, out);
}

void KelBaseComponent::addClass(const KelClassId& id, const char* name, Maker maker) {
    put(classes_, id, name, std::move(maker));
}

void KelBaseComponent::addSelfTest(const KelClassId& id, const char* name, Maker maker) {
    const std::size_t before = testMakers_.size();
    put(testMakers_, id, name, std::move(maker));
    if (testMakers_.size() > before) testClasses_.append(id);
}

void KelBaseComponent::put(Classes& classes, const KelClassId& id, const char* name, Maker maker) {
    const auto known = std::ranges::find(classes, id, &ClassEntry::id);
    if (known == classes.end()) {
        classes.push_back({id, name, std::move(maker)});
    } else {
        *known = {id, name, std::move(maker)};
    }
}

const KelBaseComponent::ClassEntry* KelBaseComponent::find(const KelClassId& id) const {
    for (const Classes* classes : {&classes_, &testMakers_}) {
        const auto found = std::ranges::find(*classes, id, &ClassEntry::id);
        if (found != classes->end()) return &*found;
    }
    return nullptr;
}
