// The public operations as tasks that any thread can do at any time and that always have the same result.
#pragma once

#include <string>
#include <vector>

namespace endurance {

// From here on parsers come through the reference host. Once, before there are threads.
void enterHost();

// What a thread works with. The folder holds what `writeInputs` wrote, and takes files of the thread.
struct Workplace {
    std::string folder;
    int thread = 0;
};

struct Task {
    std::string name;
    std::string (*run)(const Workplace& workplace);  // throws std::runtime_error when an operation fails
};

[[nodiscard]] const std::vector<Task>& tasks();

void writeInputs(const std::string& folder);

}  // namespace endurance
