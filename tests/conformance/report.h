// Counts what became of the tests and prints it: by collection, by section of the recommendation, in total;
// and compares the differences found with those that are known. Threads: one.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tests/conformance/judge.h"

namespace conformance {

struct KnownDifference {
    std::string subject;  // of a report
    std::string test;
    Difference difference = Difference::Accepts;
};

// From the tables of a Markdown page, under "Differences": rows "| sax | TEST | accepts | reason |". Throws
// std::runtime_error when the page cannot be read or a row is not understood.
[[nodiscard]] std::vector<KnownDifference> readKnownDifferences(const std::string& path);

class Report {
public:
    Report(std::string subject, std::string title) : subject_(std::move(subject)), title_(std::move(title)) {}

    void add(const TestCase& test, const Ruling& ruling, const Outcome& outcome,
             std::optional<Difference> difference);

    // Prints the tables and every difference that is not known; true when there is none, and none that is
    // known was missing.
    [[nodiscard]] bool print(const std::vector<KnownDifference>& known) const;

private:
    struct Count {
        std::size_t accepted = 0;
        std::size_t rejected = 0;
        std::size_t different = 0;
    };
    using Row = std::array<Count, 4>;  // by type
    struct Found {
        std::string test;
        std::string path;
        Difference difference;
        std::string detail;
    };

    void printTable(const char* heading, const std::map<std::string, Row>& rows) const;
    [[nodiscard]] bool printDifferences(const std::vector<KnownDifference>& known) const;

    std::string subject_;
    std::string title_;
    std::map<std::string, Row> byCollection_;
    std::map<std::string, Row> bySection_;
    std::map<std::string, Row> total_;
    std::map<std::string, std::size_t> undecided_;  // by reason
    std::vector<Found> found_;
};

}  // namespace conformance
