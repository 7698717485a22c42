// conformance [--parser direct|libxml2] SUITE-FOLDER DIFFERENCES.md: tests the engine, or one of its parsers
// alone, with the W3C's XML conformance suite.
// Exit status: 0 all as the suite or the page of differences says, 1 something else, 2 wrong usage.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

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
    Report stream{"sax", "SAX reader, by the status of parseURL; events compared with the suite's output"};
    Report document{"dom",
                    "Document without a DOCTYPE, by the result of load; tree compared with the events"};
    Report saved{"saved",
                 "Document written as it is; canonical form by libxml2 compared with the original's"};
    Report prohibited{"dtd", "Document with a DOCTYPE, which load must reject whatever the test says"};
    Report direct{"direct", "Direct parser alone, without a DOCTYPE; compared with libxml2 alone"};
    Report libxml2{"libxml2", "libxml2 alone; events compared with the suite's output"};
    Report expat{"expat", "Expat without a DOCTYPE; must come to the direct parser's verdict"};
};

// Read back, what was saved gave the same tree and the same bytes; another library has to see no difference
// either.
void runSaving(const TestCase& test, const Outcome& loaded, Reports& reports) {
    if (!loaded.accepted) return;
    Outcome saved = loaded;
    if (canonicalByPeer(readFile(test.path)) != canonicalByPeer(loaded.saved))
        saved.contradiction = "libxml2 finds another canonical form in what was saved";
    reports.saved.add(test, {Demand::Accept, {}}, saved, judge(Demand::Accept, saved, std::nullopt));
}

void runEngine(const TestCase& test, const Ruling& ruling, const std::optional<std::string>& output,
               Reports& reports) {
    const Outcome read = tryStream(test.path);
    reports.stream.add(test, ruling, read, judge(ruling.demand, read, output));

    const Outcome loaded = tryDocument(test.path);
    if (hasDoctype(test.path)) {
        reports.prohibited.add(test, {Demand::Reject, {}}, loaded,
                               judge(Demand::Reject, loaded, std::nullopt));
        return;
    }
    runSaving(test, loaded, reports);
    // Where the suite gives no output, what the stream reported is what the tree must contain.
    reports.document.add(test, ruling, loaded,
                         judge(ruling.demand, loaded, output ? output : std::optional(read.canonical)));
}

// Also of documents that the suite leaves to the parser: the three must agree on them.
void runDirect(const TestCase& test, const Ruling& ruling, const std::optional<std::string>& output,
               Reports& reports) {
    if (hasDoctype(test.path)) return;
    Outcome direct = tryDirect(test.path);
    direct.contradiction = disagreement(test.path);
    reports.direct.add(test, ruling, direct, judge(ruling.demand, direct, output));

    const Demand same = direct.accepted ? Demand::Accept : Demand::Reject;
    const Outcome expat = tryExpat(test.path);
    reports.expat.add(test, {same, {}}, expat, judge(same, expat, std::nullopt));
}

void runLibxml2(const TestCase& test, const Ruling& ruling, const std::optional<std::string>& output,
                Reports& reports) {
    const Outcome libxml2 = tryLibxml2(test.path);
    reports.libxml2.add(test, ruling, libxml2, judge(ruling.demand, libxml2, output));
}

// `parser`: "direct", "libxml2", or empty for everything.
bool runSuite(std::string_view parser, const char* folder, const char* differences) {
    const std::vector<KnownDifference> known = readKnownDifferences(differences);
    const std::vector<TestCase> tests = readTestList(folder);
    const bool withDirect = parser.empty() || parser == "direct";
    const bool withLibxml2 = parser.empty() || parser == "libxml2";
    Reports reports;
    for (const TestCase& test : tests) {
        if (!std::filesystem::exists(test.path)) throw std::runtime_error("the suite lacks " + test.path);
        const Ruling ruling = rulingFor(test);
        const std::optional<std::string> output = outputOf(test);
        if (parser.empty()) runEngine(test, ruling, output, reports);
        if (withDirect) runDirect(test, ruling, output, reports);
        if (withLibxml2) runLibxml2(test, ruling, output, reports);
    }
    std::printf("%zu tests\n\n", tests.size());
    std::vector<const Report*> shown;
    if (parser.empty()) shown = {&reports.stream, &reports.document, &reports.saved, &reports.prohibited};
    if (withDirect) shown.insert(shown.end(), {&reports.direct, &reports.expat});
    if (withLibxml2) shown.push_back(&reports.libxml2);
    bool passed = true;
    for (const Report* const report : shown) passed = report->print(known) && passed;
    return passed;
}

int usage() {
    std::fputs("usage: conformance [--parser direct|libxml2] SUITE-FOLDER DIFFERENCES.md\n", stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::string_view parser;
    if (argc == 5 && std::string_view(argv[1]) == "--parser") {
        parser = argv[2];
        if (parser != "direct" && parser != "libxml2") return usage();
    } else if (argc != 3) {
        return usage();
    }
    try {
        (void)CoInitialize(nullptr);
        return runSuite(parser, argv[argc - 2], argv[argc - 1]) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "conformance: %s\n", error.what());
        return 1;
    }
}
