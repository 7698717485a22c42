// sweep [--short] [--all] BEHAVIOUR.md [NAME...]: applies every operation to every generated input, n times
// and 4n times as long, and compares what it costs. CPU time, peak memory and the bytes that callers receive
// must not grow more than sixfold, but where the page's table of costs says so. Exit status: 0 all as it must
// be, 1 something grew more, 2 wrong usage.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/sweep/inputs.h"
#include "tests/sweep/measure.h"
#include "tests/sweep/operations.h"

namespace {

using namespace sweep;
namespace fs = std::filesystem;

constexpr std::size_t kFactor = 4;
constexpr double kMaxGrowth = 6;
// Other work on the machine disturbs times: what is a little too much is measured again, each size counts
// with its best.
constexpr int kAttempts = 4;
constexpr double kDoubtfulGrowth = 9;
constexpr std::size_t kShorter = 4;

// Below these, costs are those of starting, and count as this much.
constexpr double kLeastSeconds = 0.01;
constexpr double kLeastPeakInBytes = 8e6;
constexpr double kLeastDeliveredInBytes = 1e5;

struct Options {
    bool isShort = false;
    bool showsAll = false;
    std::string page;
    std::vector<std::string> names;  // starts of inputs' names
};

struct KnownCost {
    std::string input;
    std::string operation;
    std::string what;
};

class Folder final {
public:
    Folder() : path_(fs::temp_directory_path() / "cost-sweep-XXXXXX") {
        std::string name = path_.string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path_ = name;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    // The path of the first file.
    [[nodiscard]] std::string write(const std::string& subfolder, const Files& files) const {
        const fs::path folder = path_ / subfolder;
        fs::create_directories(folder);
        for (const auto& [name, content] : files) std::ofstream(folder / name, std::ios::binary) << content;
        return (folder / files.front().first).string();
    }
    void clear() const {
        for (const fs::directory_entry& entry : fs::directory_iterator(path_)) fs::remove_all(entry.path());
    }

private:
    fs::path path_;
};

std::string trimmed(const std::string& text) {
    const std::size_t start = text.find_first_not_of(' ');
    return start == std::string::npos ? "" : text.substr(start, text.find_last_not_of(' ') - start + 1);
}

// Rows "| input | operation | what | why |" of the table under "## Costs".
std::vector<KnownCost> readKnownCosts(const std::string& path) {
    std::ifstream page(path);
    if (!page) throw std::runtime_error("cannot read " + path);
    std::vector<KnownCost> known;
    bool isTable = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("## ")) isTable = line.starts_with("## Costs");
        if (!isTable || !line.starts_with("| ")) continue;
        std::istringstream row(line.substr(1));
        std::array<std::string, 3> cells;
        for (std::string& cell : cells) {
            std::getline(row, cell, '|');
            cell = trimmed(cell);
        }
        known.push_back({cells[0], cells[1], cells[2]});
    }
    return known;
}

double growth(double once, double more, double least) {
    return std::max(more, least) / std::max(once, least);
}

struct Growth {
    Cost once;
    Cost more;
    [[nodiscard]] double time() const { return growth(once.cpuSeconds, more.cpuSeconds, kLeastSeconds); }
    [[nodiscard]] double memory() const {
        return growth(once.peakInBytes, more.peakInBytes, kLeastPeakInBytes);
    }
    [[nodiscard]] double delivered() const {
        return growth(once.deliveredInBytes, more.deliveredInBytes, kLeastDeliveredInBytes);
    }
    [[nodiscard]] bool isKilled() const { return once.isKilled || more.isKilled; }
    [[nodiscard]] double worst() const { return std::max({time(), memory(), delivered()}); }
    [[nodiscard]] bool isDoubtful() const {
        return !isKilled() && worst() > kMaxGrowth && worst() < kDoubtfulGrowth;
    }
    // What grew too much; empty: nothing.
    [[nodiscard]] std::string excess() const {
        if (isKilled()) return "time memory bytes ";
        std::string what;
        if (time() > kMaxGrowth) what += "time ";
        if (memory() > kMaxGrowth) what += "memory ";
        if (delivered() > kMaxGrowth) what += "bytes ";
        return what;
    }
};

void keepBest(Cost& best, const Cost& again) {
    if (again.isKilled) return;
    if (best.isKilled) best = again;
    best.cpuSeconds = std::min(best.cpuSeconds, again.cpuSeconds);
    best.peakInBytes = std::min(best.peakInBytes, again.peakInBytes);
}

Growth measureGrowth(const Operation& operation, const std::string& shortPath, const std::string& longPath) {
    const auto cost = [&operation](const std::string& path) {
        return measure([&] { return operation.prepare(path); });
    };
    Growth found{cost(shortPath), cost(longPath)};
    for (int attempt = 1; attempt < kAttempts && found.isDoubtful(); ++attempt) {
        keepBest(found.once, cost(shortPath));
        keepBest(found.more, cost(longPath));
    }
    return found;
}

class Sweep {
public:
    Sweep(const Options& options, std::vector<KnownCost> known)
        : options_(options), known_(std::move(known)) {}

    [[nodiscard]] bool run() {
        std::printf(
            "growth for %zu times the length; at most %.0f is right\n\n%-44s %-15s %8s %6s %8s %6s %6s\n",
            kFactor, kMaxGrowth, "input", "operation", "time", "x", "MB", "x", "bytes");
        for (const Input& input : inputs()) {
            if (isChosen(input.name)) runInput(input);
        }
        std::printf("\n%d measured, %d beyond proportion and known, %d not known, %d failed\n", measured_,
                    excused_, excesses_, failures_);
        return excesses_ == 0 && failures_ == 0 && measured_ > 0;
    }

private:
    [[nodiscard]] bool isChosen(const std::string& name) const {
        return options_.names.empty() ||
               std::any_of(options_.names.begin(), options_.names.end(),
                           [&](const std::string& start) { return name.starts_with(start); });
    }

    void runInput(const Input& input) {
        const std::size_t count =
            options_.isShort ? std::max<std::size_t>(input.count / kShorter, 1) : input.count;
        const std::string once = folder_.write("once", input.make(count));
        const std::string more = folder_.write("more", input.make(count * kFactor));
        for (const Operation& operation : operationsFor(input.kind)) {
            try {
                report(input, operation, measureGrowth(operation, once, more));
            } catch (const std::exception& error) {
                ++failures_;
                std::printf("%-44s %-15s FAILED: %s\n", input.name.c_str(), operation.name.c_str(),
                            error.what());
            }
            (void)std::fflush(stdout);
        }
        folder_.clear();
    }

    [[nodiscard]] bool isKnown(const Input& input, const Operation& operation,
                               const std::string& excess) const {
        std::istringstream words(excess);
        for (std::string what; words >> what;) {
            const bool isListed = std::any_of(known_.begin(), known_.end(), [&](const KnownCost& k) {
                return k.input == input.name && k.operation == operation.name &&
                       k.what.find(what) != k.what.npos;
            });
            if (!isListed) return false;
        }
        return true;
    }

    void report(const Input& input, const Operation& operation, const Growth& found) {
        ++measured_;
        const std::string excess = found.excess();
        const char* verdict = found.once.isRejected   ? "rejected"
                              : found.more.isRejected ? "rejected at 4n"
                                                      : "";
        if (!excess.empty() && isKnown(input, operation, excess)) {
            ++excused_;
            verdict = "known";
        } else if (!excess.empty()) {
            ++excesses_;
            verdict = found.isKilled() ? "BEYOND ALL LIMITS" : "TOO MUCH";
        } else if (!options_.showsAll && *verdict == '\0') {
            return;
        }
        std::printf("%-44s %-15s %6.0fms %6.1f %8.1f %6.1f %6.1f  %s %s\n", input.name.c_str(),
                    operation.name.c_str(), found.more.cpuSeconds * 1e3, found.time(),
                    found.more.peakInBytes / 1e6, found.memory(), found.delivered(), verdict, excess.c_str());
    }

    const Options& options_;
    std::vector<KnownCost> known_;
    Folder folder_;
    int measured_ = 0;
    int excused_ = 0;
    int excesses_ = 0;
    int failures_ = 0;
};

bool parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--short")
            options.isShort = true;
        else if (argument == "--all")
            options.showsAll = true;
        else if (argument.starts_with("-"))
            return false;
        else if (options.page.empty())
            options.page = argument;
        else
            options.names.emplace_back(argument);
    }
    return !options.page.empty();
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fputs("usage: sweep [--short] [--all] BEHAVIOUR.md [NAME...]\n", stderr);
        return 2;
    }
    try {
        return Sweep(options, readKnownCosts(options.page)).run() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sweep: %s\n", error.what());
        return 1;
    }
}
