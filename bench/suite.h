// Rows of a benchmark: each compares us with peers that do equal work, on one input.
//
// A row's contenders run alternately in this process. Before the clock starts each runs once, unmeasured, and
// must give the same result as the others; the row fails otherwise. Time is the process's CPU time, for every
// row works on one thread and other work on the machine then disturbs least. Reported are medians, the spread
// (half the distance between the quartiles, in percent of the median) and the ratio to each peer.
// Threads: one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

inline constexpr std::string_view kOurs = "ours";

// One of those compared; ours is named kOurs and comes first. A round returns what it found: a count, a
// digest, or simply whether it worked. It uses the result up, so that no compiler leaves the work out.
struct Contender {
    std::string name;
    std::function<std::uint64_t()> round;
};

// A figure that was found by other means than rounds, such as the memory of a child process.
struct Value {
    std::string name;
    double value = 0;
};

enum class Better : std::uint8_t { Higher, Lower };

struct Figure {
    std::string name;
    double median = 0;
    double spreadInPercent = 0;
};

struct Result {
    std::string row;
    std::string unit;
    Better better = Better::Higher;
    std::vector<Figure> figures;  // ours first
    std::string note;             // printed below the row
};

// Without them a profile shows our own work alone.
enum class Peers : std::uint8_t { Run, LeaveOut };

// What a row's body reports through; exactly one of the first four is called.
class Row {
public:
    Row(std::string name, Peers peers) : peers_(peers) { result_.row = std::move(name); }

    void throughput(std::uint64_t bytesInRound, const std::vector<Contender>& contenders);    // MB/s
    void latency(std::uint64_t operationsInRound, const std::vector<Contender>& contenders);  // ns/op
    void values(std::string unit, Better better, const std::vector<Value>& values);
    // How the time grows when the input doubles: `sizes` hold the rounds at n, 2n, 4n …, the smallest first.
    // The figure is the largest ratio from one size to the next.
    void growth(const std::vector<Contender>& sizes);
    void note(std::string text) { result_.note = std::move(text); }

    [[nodiscard]] const Result& result() const { return result_; }

private:
    [[nodiscard]] std::vector<Contender> chosen(const std::vector<Contender>& contenders) const;

    Result result_;
    Peers peers_;
};

// Throws what makes the row fail; nothing that was prepared for one row stays for the next.
using RowBody = std::function<void(Row&)>;

enum class When : std::uint8_t {
    Always,
    Asked,  // takes minutes: only when a prefix is given that it starts with
    Named,  // takes long or much disk: only when its whole name is given
};

class Suite {
public:
    void add(std::string name, RowBody body, When when = When::Always);

    // Runs the rows that start with one of the prefixes (none: all that run always), prints as it goes, and
    // writes what it found to `jsonPath` unless that is empty. False when a row failed or none was selected.
    [[nodiscard]] bool run(const std::vector<std::string>& prefixes, const std::string& jsonPath,
                           Peers peers) const;
    void list() const;

private:
    struct Entry {
        std::string name;
        RowBody body;
        When when;
    };
    std::vector<Entry> entries_;
};

}  // namespace bench
