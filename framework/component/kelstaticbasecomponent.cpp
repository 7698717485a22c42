#include "framework/component/kelstaticbasecomponent.h"

#include <new>

#include "framework/component/componentstate.h"
#include "framework/component/detail/componentstate.h"
#include "framework/component/ikelclassfactory.h"
#include "framework/component/ikelcomponentcustomizer.h"
#include "framework/object/hostlink.h"

namespace {

constinit bool isSelfTestRunning = false;

}  // namespace

void KelStaticBaseComponent::initialize(IKelComponentManager* core) {
    kel::hostCore = core;
    if (kel::customizerHook != nullptr) kel::customizerHook->start();
}

void KelStaticBaseComponent::shutdown() {
    if (kel::customizerHook != nullptr) kel::customizerHook->stop();
}

std::int32_t KelStaticBaseComponent::createObject(const KelClassId& classId, IKelUnknown** out) {
    *out = nullptr;
    return kel::defaultClassFactory == nullptr ? 0 : kel::defaultClassFactory->create(classId, out);
}

const std::string& KelStaticBaseComponent::version() const {
    return kel::componentIdentity().version;
}
const KelClassId* KelStaticBaseComponent::classId() const {
    return &kel::componentIdentity().classId;
}
const std::string& KelStaticBaseComponent::name() const {
    return kel::componentIdentity().name;
}

std::int32_t KelStaticBaseComponent::classCount() const {
    return kel::defaultClassFactory == nullptr ? 0 : kel::defaultClassFactory->classCount();
}

bool KelStaticBaseComponent::firstClass(KelClassId* id) {
    return kel::defaultClassFactory != nullptr && kel::defaultClassFactory->firstClass(id);
}

bool KelStaticBaseComponent::nextClass(KelClassId* id) {
    return kel::defaultClassFactory != nullptr && kel::defaultClassFactory->nextClass(id);
}

const char* KelStaticBaseComponent::classNameOf(const KelClassId& id) const {
    return kel::defaultClassFactory == nullptr ? nullptr : kel::defaultClassFactory->classNameOf(id);
}

void KelStaticBaseComponent::selfTest(IKelTestReceiver* receiver) {
    kel::detail::runSelfTest(isSelfTestRunning, kel::testClassList(), receiver);
}

void KelStaticBaseComponent::setContainerName(const std::string& name) {
    kel::setContainerName(name);
}
const std::string& KelStaticBaseComponent::containerName() const {
    return kel::containerName();
}
void KelStaticBaseComponent::setBreakEnabled(bool on) {
    kel::setBreakEnabled(on);
}
bool KelStaticBaseComponent::isBreakEnabled() const {
    return kel::isBreakEnabled();
}

IKelComponent* KelStaticBaseComponentFact::createComponent() {
    return new (std::nothrow) KelStaticBaseComponent;
}
