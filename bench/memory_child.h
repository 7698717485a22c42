// The part of the memory rows that runs in a child process: one library, one document, two numbers.
#pragma once

#include <string>
#include <vector>

namespace bench {

inline constexpr const char* kMemoryChild = "--memory-child";  // the program's first argument for it

// Arguments: "load" or "sax", the library, the document, a short document to warm up with. Prints how far the
// resident memory rose at most, and how much of it is still there at the end, in bytes. Returns the exit
// status.
[[nodiscard]] int runMemoryChild(const std::vector<std::string>& arguments);

}  // namespace bench
