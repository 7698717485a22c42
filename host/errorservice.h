// Takes over the reports of fatal conditions: writes them to standard error, or hands them to the
// application. Threads: any; one report at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include "KelBasicTypes/ikelerrorservice.h"
#include "framework/object/implements.h"

namespace kelhost {

// A report as the application's receiver gets it.
struct Report {
    std::string message;    // UTF-8
    std::int32_t level;     // IKelErrorService::kLevelError, or ErrorService::kLevelWarning
    std::string operation;  // what failed ("realloc"); may be empty
};

// The service that passes reports on.
class ErrorService final : public kel::Implements<ErrorService, IKelErrorService> {
public:
    static constexpr const char* kClassName = "ErrorService";
    static constexpr std::int32_t kLevelWarning = 2;  // of this host's own reports: work goes on

    // What the function throws reaches the caller. It must not report itself.
    using Receiver = std::function<void(const Report&)>;

    ErrorService() = default;  // to standard error, without asking for memory: it may be what has run out
    explicit ErrorService(Receiver receiver) : receiver_(std::move(receiver)) {}

    void report(const KelString& message, const std::int32_t& level, const char* operation) override;

private:
    std::mutex lock_;
    Receiver receiver_;  // empty: standard error
};

}  // namespace kelhost
