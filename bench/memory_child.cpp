#include "bench/memory_child.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <stdexcept>

#include "bench/machine.h"
#include "bench/streams.h"
#include "bench/trees.h"

namespace bench {
namespace {

template <class Libraries>
const auto& named(const Libraries& libraries, const std::string& name) {
    const auto found = std::find_if(libraries.begin(), libraries.end(),
                                    [&](const auto* library) { return library->name() == name; });
    if (found == libraries.end()) throw std::runtime_error("no library is called " + name);
    return **found;
}

void report(std::uint64_t before) {
    const std::uint64_t peak = residency().peakInBytes;
    trimHeap();
    const std::uint64_t kept = std::max(residency().nowInBytes, before);
    std::printf("%llu %llu\n", static_cast<unsigned long long>(peak - before),
                static_cast<unsigned long long>(kept - before));
}

void load(const TreeLibrary& library, const std::string& path, const std::string& warmUpPath) {
    // A short document first: code, tables and the heap's first pages are not the document's.
    library.load(warmUpPath).reset();
    const std::uint64_t before = residency().nowInBytes;
    const std::unique_ptr<Tree> tree = library.load(path);
    report(before);
}

void stream(const StreamLibrary& library, const std::string& path) {
    // Here everything counts that the process did not have while it had not parsed anything.
    const std::uint64_t before = residency().nowInBytes;
    if (library.parse(path).elements == 0) throw std::runtime_error("no element arrived");
    report(before);
}

}  // namespace

int runMemoryChild(const std::vector<std::string>& arguments) {
    if (arguments.size() != 4) {
        std::fprintf(stderr, "bench: %s is for the benchmark itself\n", kMemoryChild);
        return 2;
    }
    try {
        if (arguments[0] == "load")
            load(named(treeLibraries(), arguments[1]), arguments[2], arguments[3]);
        else
            stream(named(streamLibraries(), arguments[1]), arguments[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
    return 0;
}

}  // namespace bench
