// The component's public operations, each applied to one generated input.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/sweep/inputs.h"
#include "tests/sweep/measure.h"

namespace sweep {

struct Operation {
    std::string name;
    // Prepares the work on the input whose first file is `path`; in the process that does the work.
    std::function<std::function<Delivery()>(const std::string& path)> prepare;
};

[[nodiscard]] std::vector<Operation> operationsFor(Kind kind);

}  // namespace sweep
