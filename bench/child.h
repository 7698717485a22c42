// What runs in a child process of the benchmark: one task, one library, and numbers as the result. So no heap
// remembers another contender, and a host that is set up for a task stays in its process.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

inline constexpr const char* kChild = "--child";  // the program's first argument for it

// Does the task, prints its numbers and returns the exit status. Arguments by task:
//   memory/load LIBRARY DOCUMENT WARM-UP   the max rise of resident memory, and what is kept of it, in bytes;
//   memory/faithful DOCUMENT OUTPUT WARM-UP  the same of writing, beyond the tree
//   memory/sax LIBRARY DOCUMENT            WARM-UP is a short document that is loaded before
//   cold LIBRARY DOCUMENT                  CPU seconds of the first load of the process, digest of the tree
//   scaling/load LIBRARY DOCUMENT [host]   throughput of two threads over that of one, digest of what was
//   read scaling/sax LIBRARY DOCUMENT [host] pool THREADS [host]                    nanoseconds for a block:
//   ours, malloc
// With `host` the process works under the reference host.
[[nodiscard]] int runChild(const std::vector<std::string>& arguments);

// Runs a task and returns its numbers; throws std::runtime_error unless there are `count`.
[[nodiscard]] std::vector<double> runInChild(std::vector<std::string> arguments, std::size_t count);

}  // namespace bench
