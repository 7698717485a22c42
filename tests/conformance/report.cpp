#include "tests/conformance/report.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <stdexcept>

#include "tests/conformance/canonical.h"

namespace conformance {
namespace {

constexpr std::array kTypes{"valid", "invalid", "not-wf", "error"};

std::string trimmed(const std::string& text) {
    const std::size_t start = text.find_first_not_of(" \t`\r");
    if (start == std::string::npos) return {};
    return text.substr(start, text.find_last_not_of(" \t`\r") - start + 1);
}

std::vector<std::string> cells(const std::string& line) {
    std::vector<std::string> list;
    std::istringstream text(line);
    std::string cell;
    std::getline(text, cell, '|');  // before the first bar
    while (std::getline(text, cell, '|')) list.push_back(trimmed(cell));
    return list;
}

std::string detailOf(const Outcome& outcome, Difference difference) {
    switch (difference) {
        case Difference::Contradicts:
            return outcome.contradiction;
        case Difference::Rejects:
            return outcome.reason;
        case Difference::Content:
            return "reported: " + outcome.canonical.substr(0, 200);
        case Difference::Accepts:
            break;
    }
    return {};
}

}  // namespace

std::vector<KnownDifference> readKnownDifferences(const std::string& path) {
    std::vector<KnownDifference> known;
    std::istringstream page(readFile(path));
    bool isListed = false;  // the page's other tables begin their rows with the same words
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("## ")) isListed = line == "## Differences";
        if (!isListed) continue;
        if (!line.starts_with("| ") || line.starts_with("| subject ")) continue;
        const std::vector<std::string> row = cells(line);
        const std::optional<Difference> difference =
            row.size() == 4 ? parseDifference(row[2]) : std::optional<Difference>();
        if (!difference || row[1].empty() || row[3].empty())
            throw std::runtime_error(path +
                                     ": a difference needs a test, what happens and a reason: " + line);
        known.push_back({row[0], row[1], *difference});
    }
    return known;
}

void Report::add(const TestCase& test, const Ruling& ruling, const Outcome& outcome,
                 std::optional<Difference> difference) {
    if (ruling.demand == Demand::Nothing) ++undecided_[ruling.reason];
    // What becomes of an optional error is shown all the same.
    if (ruling.demand != Demand::Nothing || (test.type == Type::Error && test.skipReason.empty())) {
        for (Row* const row : {&byCollection_[test.collection], &bySection_[test.section], &total_["all"]}) {
            Count& count = (*row)[static_cast<std::size_t>(test.type)];
            ++(outcome.accepted ? count.accepted : count.rejected);
            count.different += difference.has_value();
        }
    }
    if (difference) found_.push_back({test.id, test.path, *difference, detailOf(outcome, *difference)});
}

void Report::printTable(const char* heading, const std::map<std::string, Row>& rows) const {
    std::printf("%-52s", heading);
    for (const char* const type : kTypes) std::printf(" | %-20s", type);
    std::printf("\n");
    for (const auto& [name, row] : rows) {
        std::printf("%-52.52s", name.c_str());
        for (const Count& count : row) {
            if (count.accepted + count.rejected == 0) {
                std::printf(" | %-20s", "");
                continue;
            }
            std::printf(" | %4zu acc %4zu rej%s", count.accepted, count.rejected,
                        count.different > 0 ? " !" : "  ");
        }
        std::printf("\n");
    }
    std::printf("\n");
}

bool Report::print(const std::vector<KnownDifference>& known) const {
    std::printf("%s\n(acc: accepted, rej: rejected, !: with a difference)\n\n", title_.c_str());
    printTable("by collection", byCollection_);
    printTable("by section of the recommendation", bySection_);
    printTable("total", total_);
    for (const auto& [reason, count] : undecided_)
        std::printf("%6zu not judged: %s\n", count, reason.c_str());
    return printDifferences(known);
}

bool Report::printDifferences(const std::vector<KnownDifference>& known) const {
    std::size_t explained = 0;
    std::size_t unexplained = 0;
    for (const Found& found : found_) {
        const bool isKnown = std::any_of(known.begin(), known.end(), [&](const KnownDifference& k) {
            return k.subject == subject_ && k.test == found.test && k.difference == found.difference;
        });
        ++(isKnown ? explained : unexplained);
        if (isKnown) continue;
        std::printf("DIFFERENCE %s %s %s  %s\n    %s\n", subject_.c_str(), found.test.c_str(),
                    nameOf(found.difference), found.detail.c_str(), found.path.c_str());
    }
    std::size_t outdated = 0;
    for (const KnownDifference& k : known) {
        if (k.subject != subject_) continue;
        const bool occurs = std::any_of(found_.begin(), found_.end(), [&](const Found& found) {
            return k.test == found.test && k.difference == found.difference;
        });
        if (occurs) continue;
        ++outdated;
        std::printf("OUTDATED   %s %s %s: listed as a difference, but it is none\n", subject_.c_str(),
                    k.test.c_str(), nameOf(k.difference));
    }
    std::printf("%6zu differences explained, %zu unexplained, %zu outdated\n\n", explained, unexplained,
                outdated);
    return unexplained == 0 && outdated == 0;
}

}  // namespace conformance
