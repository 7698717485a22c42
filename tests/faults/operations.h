// The component's public operations, each in a form that can be repeated and whose result can be compared.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace faults {

// One run of an operation. Made and destroyed without faults; only `call` meets one.
class Run {
public:
    Run() = default;
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    virtual ~Run() = default;

    // True: the operation reports success. Throws what the operation throws.
    [[nodiscard]] virtual bool call() = 0;
    // What a success has come to, as text.
    [[nodiscard]] virtual std::string result() = 0;
};

// What the documentation excepts an operation from.
enum class Exception : std::uint8_t {
    None,
    SucceedsAlways,  // true with what came before the fault: the beginning of the result
    KeepsOnFailure,  // a failure leaves objects alive
};

struct Operation {
    std::string name;
    std::function<std::unique_ptr<Run>()> prepare;
    Exception exception = Exception::None;
};

// `folder` exists; files are written to it.
[[nodiscard]] std::vector<Operation> operationsIn(const std::string& folder);

}  // namespace faults
