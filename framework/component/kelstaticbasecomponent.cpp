#include "framework/component/kelstaticbasecomponent.h"

#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/kelstring.h"
#include "framework/component/componentstate.h"
#include "framework/component/ikelclassfactory.h"
#include "framework/component/ikelcomponentcustomizer.h"
#include "framework/object/hostlink.h"
#include "framework/object/ikelcomponentmanager.h"
#include "framework/object/sptr.h"

namespace {

constinit bool isSelfTestRunning = false;

class SelfTestRun final {
public:
    SelfTestRun() { isSelfTestRunning = true; }
    SelfTestRun(const SelfTestRun&) = delete;
    SelfTestRun& operator=(const SelfTestRun&) = delete;
    ~SelfTestRun() { isSelfTestRunning = false; }  // also when a service throws
};

void report(const KelString& message) {
    const SPtr<IKelErrorService> errors;
    if (errors) errors->report(message, IKelErrorService::kLevelError, "");
}

void reportTestStatus() {
    report(u"Unable to get test service");
    if (kel::hostCore == nullptr) return;
    const std::int32_t status = kel::hostCore->testStatus();
    // Kept: the status is a character, not a number. See behaviour.md, "Self-test status".
    const char16_t character = static_cast<char16_t>(status & 0xFF);
    report(std::u16string_view(&character, 1));
}

void nameTestClasses(IKelTestReceiver& receiver) {
    const auto& list = kel::testClassList();
    for (std::size_t number = 1; number <= list.count(); ++number) receiver.receive(*list.at(number));
}

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
    if (isSelfTestRunning) return;
    const SelfTestRun run;
    if (receiver == nullptr) {
        reportTestStatus();
    } else {
        nameTestClasses(*receiver);
    }
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
