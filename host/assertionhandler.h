// Receives failed assertions. The operation that failed goes on afterwards; without any handler the process
// would end. Threads: any.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "KelBasicTypes/ikelasserthandlercb.h"
#include "framework/object/implements.h"

namespace kelhost {

class AssertionHandler final : public kel::Implements<AssertionHandler, IKelAssertHandlerCB> {
public:
    static constexpr const char* kClassName = "AssertionHandler";

    // The texts are static. May be called by several threads at a time; what it throws reaches the failing
    // operation's caller, and it may end the process.
    using Receiver = std::function<void(const char* expression, const char* sourcePath, std::int32_t line)>;

    AssertionHandler() = default;  // a line on standard error
    explicit AssertionHandler(Receiver receiver) : receiver_(std::move(receiver)) {}

    void assertionFailed(const char* expression, const char* sourcePath, std::int32_t line) override;

private:
    Receiver receiver_;
};

}  // namespace kelhost
