// conformance SUITE-FOLDER DIFFERENCES.md: holds the engine against the W3C's XML conformance suite.
// Exit status: 0 all as the suite or the page of differences says, 1 something else, 2 wrong usage.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>

#include "engine/com/com.h"
#include "tests/conformance/canonical.h"
#include "tests/conformance/judge.h"
#include "tests/conformance/report.h"
#include "tests/conformance/subject.h"
#include "tests/conformance/testlist.h"

namespace {

using namespace conformance;

// In any encoding of the suite, for zero bytes do not count: past comments and processing instructions.
bool hasDoctype(const std::string& path) {
    std::string bytes = readFile(path);
    bytes.erase(std::remove(bytes.begin(), bytes.end(), '\0'), bytes.end());
    for (std::size_t at = bytes.find('<'); at != std::string::npos; at = bytes.find('<', at)) {
        if (bytes.compare(at, 4, "<!--") == 0)
            at = bytes.find("-->", at + 4);
        else if (bytes.compare(at, 2, "<?") == 0)
            at = bytes.find("?>", at + 2);
        else
            return bytes.compare(at, 9, "<!DOCTYPE") == 0;
        if (at == std::string::npos) break;
    }
    return false;
}

// The suite's output, where nothing external could have gone into it.
std::optional<std::string> outputOf(const TestCase& test) {
    if (test.outputPath.empty() || test.needsExternalEntities) return std::nullopt;
    return readCanonicalFile(test.outputPath);
}

struct Reports {
    Report stream{"sax",
                  "SAX reader, judged by the status of parseURL; events held against the suite's output"};
    Report document{"dom",
                    "Document without a DOCTYPE, judged by the result of load; tree held against the events"};
    Report prohibited{"dtd", "Document with a DOCTYPE, which load must refuse whatever the test says"};
};

void run(const TestCase& test, Reports& reports) {
    if (!std::filesystem::exists(test.path)) throw std::runtime_error("the suite lacks " + test.path);
    const Ruling ruling = rulingFor(test);
    const Outcome read = tryStream(test.path);
    const std::optional<std::string> output = outputOf(test);
    reports.stream.add(test, ruling, read, judge(ruling.demand, read, output));

    const Outcome loaded = tryDocument(test.path);
    if (hasDoctype(test.path)) {
        reports.prohibited.add(test, {Demand::Refuse, {}}, loaded,
                               judge(Demand::Refuse, loaded, std::nullopt));
        return;
    }
    // Where the suite gives no output, what the stream reported is what the tree must hold.
    reports.document.add(test, ruling, loaded,
                         judge(ruling.demand, loaded, output ? output : std::optional(read.canonical)));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: conformance SUITE-FOLDER DIFFERENCES.md\n", stderr);
        return 2;
    }
    try {
        (void)CoInitialize(nullptr);
        const std::vector<KnownDifference> known = readKnownDifferences(argv[2]);
        Reports reports;
        const std::vector<TestCase> tests = readTestList(argv[1]);
        for (const TestCase& test : tests) run(test, reports);
        std::printf("%zu tests\n\n", tests.size());
        bool passed = true;
        for (const Report* const report : {&reports.stream, &reports.document, &reports.prohibited})
            passed = report->print(known) && passed;
        return passed ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "conformance: %s\n", error.what());
        return 1;
    }
}
