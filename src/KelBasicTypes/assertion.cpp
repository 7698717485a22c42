#include "KelBasicTypes/assertion.h"

#include <atomic>
#include <cstdlib>

#include "KelBasicTypes/ikelasserthandlercb.h"
#include "framework/object/sptr.h"

namespace kel {

namespace {

constexpr int kExitStatus = 255;

constinit std::atomic<AssertionCallback> installed{nullptr};

}  // namespace

AssertionCallback setAssertionCallback(AssertionCallback callback) noexcept {
    return installed.exchange(callback);
}

void assertionFailed(const char* expression, const char* sourcePath, std::int32_t line) {
    if (const AssertionCallback callback = installed.load()) {
        callback(expression, sourcePath, line);
        return;
    }
    const SPtr<IKelAssertHandlerCB> handler;
    if (!handler) std::exit(kExitStatus);
    handler->assertionFailed(expression, sourcePath, line);
}

}  // namespace kel
