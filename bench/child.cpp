#include "bench/child.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <sstream>
#include <stdexcept>

#include "bench/machine.h"
#include "bench/ours.h"
#include "bench/scaling.h"
#include "bench/streams.h"
#include "bench/trees.h"
#include "msxml_parser/xml.h"

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

void memoryOfLoad(const TreeLibrary& library, const std::string& path, const std::string& warmUpPath) {
    // A short document first: code, tables and the heap's first pages are not the document's.
    library.load(warmUpPath).reset();
    const std::uint64_t before = residency().nowInBytes;
    const std::unique_ptr<Tree> tree = library.load(path);
    report(before);
}

// Ours alone: the others' trees write what is indented.
void memoryOfFaithfulSave(const std::string& path, const std::string& output, const std::string& warmUpPath) {
    const auto loaded = [](const std::string& from) {
        msxml_parser::Document document(newDomParser().get());
        document.loadFile(from, {.keepWhiteSpace = true});
        return document;
    };
    loaded(warmUpPath).saveFile(output);
    const msxml_parser::Document document = loaded(path);
    trimHeap();
    resetPeak();
    const std::uint64_t before = residency().nowInBytes;
    document.saveFile(output);
    report(before);
}

void memoryOfStream(const StreamLibrary& library, const std::string& path) {
    // Here everything counts that the process did not have while it had not parsed anything.
    const std::uint64_t before = residency().nowInBytes;
    if (library.parse(path).elements == 0) throw std::runtime_error("no element arrived");
    report(before);
}

double cpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);  // user and system time, all threads
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// 53 bits, which a double holds.
double digestOf(Tree& tree) {
    DigestSink sink;
    tree.walk(sink);
    return static_cast<double>(sink.result() >> 11);
}

void coldLoad(const TreeLibrary& library, const std::string& path) {
    const double start = cpuSeconds();
    const std::unique_ptr<Tree> tree = library.load(path);
    const double taken = cpuSeconds() - start;
    std::printf("%.9f %.17g\n", taken, digestOf(*tree));
}

void scaleLoad(const TreeLibrary& library, const std::string& path) {
    const double ratio = measureScaling([&library, path] { library.load(path).reset(); });
    std::printf("%.4f %.17g\n", ratio, digestOf(*library.load(path)));
}

void scaleStream(const StreamLibrary& library, const std::string& path) {
    const double ratio = measureScaling([&library, path] { (void)library.parse(path); });
    std::printf("%.4f %.17g\n", ratio, static_cast<double>(library.parse(path).result()));
}

void pool(int threads) {
    const double ours = nanosecondsPerBlock(threads, takeAndGiveBack);
    std::printf("%.3f %.3f\n", ours, nanosecondsPerBlock(threads, allocateAndFree));
}

void runTask(std::vector<std::string> arguments) {
    if (arguments.size() > 2 && arguments.back() == "host") {
        arguments.pop_back();
        enterHost();
    }
    const std::string& task = arguments.at(0);
    if (task == "memory/load")
        memoryOfLoad(named(treeLibraries(), arguments.at(1)), arguments.at(2), arguments.at(3));
    else if (task == "memory/faithful")
        memoryOfFaithfulSave(arguments.at(1), arguments.at(2), arguments.at(3));
    else if (task == "memory/sax")
        memoryOfStream(named(streamLibraries(), arguments.at(1)), arguments.at(2));
    else if (task == "cold")
        coldLoad(named(treeLibraries(), arguments.at(1)), arguments.at(2));
    else if (task == "scaling/load")
        scaleLoad(named(treeLibraries(), arguments.at(1)), arguments.at(2));
    else if (task == "scaling/sax")
        scaleStream(named(streamLibraries(), arguments.at(1)), arguments.at(2));
    else if (task == "pool")
        pool(std::stoi(arguments.at(1)));
    else
        throw std::runtime_error("there is no task " + task);
}

}  // namespace

int runChild(const std::vector<std::string>& arguments) {
    try {
        runTask(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: in a child process: %s\n", error.what());
        return 1;
    }
    return 0;
}

std::vector<double> runInChild(std::vector<std::string> arguments, std::size_t count) {
    arguments.insert(arguments.begin(), kChild);
    std::istringstream output(runSelf(arguments));
    std::vector<double> numbers(count);
    for (double& number : numbers) output >> number;
    if (!output) throw std::runtime_error("a child process gave too few numbers: " + arguments.at(1));
    return numbers;
}

}  // namespace bench
