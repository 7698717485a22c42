#include "framework/component/detail/selftestrun.h"
#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/kelstring.h"
#include "framework/object/hostlink.h"
#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponentmanager.h"
#include "framework/object/sptr.h"

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
    // Kept: the status is a character, not a number. See behaviour.md, "Self-test status".
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
