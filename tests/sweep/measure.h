// What one piece of work costs, measured in a process of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace sweep {

struct Cost {
    double cpuSeconds = 0;
    double peakInBytes = 0;       // the max rise of resident memory
    double deliveredInBytes = 0;  // that callers receive: events, texts, files
    bool isRejected = false;      // the operation reported a failure
    bool isKilled = false;        // it exceeded the limits of the process; the rest is unknown
};

struct Delivery {
    double bytes = 0;
    bool isRejected = false;
};

// `prepare` is not measured; it returns the work. Both run in a child process that may use 20 CPU seconds and
// 8 GB. Throws std::runtime_error when `prepare` or the work ends with an exception or a crash.
[[nodiscard]] Cost measure(const std::function<std::function<Delivery()>()>& prepare);

}  // namespace sweep
