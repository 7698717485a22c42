// What all component objects of a library share, and the self-test that both bases run.
#include "framework/component/componentstate.h"

#include <cstdlib>
#include <cstring>

#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/kelstring.h"
#include "framework/component/detail/componentstate.h"
#include "framework/object/hostlink.h"
#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponentmanager.h"
#include "framework/object/sptr.h"

namespace kel {

constinit IKelClassFactory* defaultClassFactory = nullptr;
constinit IKelComponentFactory* componentFactory = nullptr;
constinit IKelComponentCustomizer* customizerHook = nullptr;

namespace {

constexpr std::size_t kTestClassCapacity = 20;

bool readBreakEnabled() noexcept {
    const char* const value = std::getenv("KEL_BREAK_ENABLED");
    return value == nullptr || std::strcmp(value, "0") != 0;
}

bool breakEnabled = readBreakEnabled();

}  // namespace

bool isBreakEnabled() noexcept {
    return breakEnabled;
}
void setBreakEnabled(bool on) noexcept {
    breakEnabled = on;
}

OneBasedList<KelClassId>& testClassList() {
    static auto& list = *new OneBasedList<KelClassId>(kTestClassCapacity);  // never destroyed
    return list;
}

namespace detail {

void rereadEnvironment() {
    breakEnabled = readBreakEnabled();
}

}  // namespace detail
}  // namespace kel

namespace kel::detail {

namespace {

class SelfTestRun final {
public:
    explicit SelfTestRun(bool& isRunning) : isRunning_(isRunning) { isRunning_ = true; }
    SelfTestRun(const SelfTestRun&) = delete;
    SelfTestRun& operator=(const SelfTestRun&) = delete;
    ~SelfTestRun() { isRunning_ = false; }  // also when a service throws

private:
    bool& isRunning_;
};

void report(const KelString& message) {
    const SPtr<IKelErrorService> errors;
    if (errors) errors->report(message, IKelErrorService::kLevelError, "");
}

void reportTestStatus() {
    report(u"Unable to get test service");
    if (hostCore == nullptr) return;
    const std::int32_t status = hostCore->testStatus();
    // Intentional: the status is a character, not a number. See behaviour.md, "Self-test status".
    const char16_t character = static_cast<char16_t>(status & 0xFF);
    report(std::u16string_view(&character, 1));
}

}  // namespace

void runSelfTest(bool& isRunning, const OneBasedList<KelClassId>& testClasses, IKelTestReceiver* receiver) {
    if (isRunning) return;
    const SelfTestRun run(isRunning);
    if (receiver == nullptr) return reportTestStatus();
    for (std::size_t number = 1; number <= testClasses.count(); ++number)
        receiver->receive(*testClasses.at(number));
}

}  // namespace kel::detail
