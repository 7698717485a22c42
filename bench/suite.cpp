#include "bench/suite.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <exception>
#include <limits>
#include <optional>
#include <stdexcept>

#include "bench/machine.h"

namespace bench {
namespace {

constexpr double kBudgetInSeconds = 2.0;  // for all rounds of a row, as far as the minimum of rounds allows
constexpr double kShortestRoundInSeconds = 0.01;  // shorter ones are repeated, for the clock's sake
constexpr std::size_t kMinRounds = 5;
constexpr std::size_t kMaxRounds = 41;

double cpuSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

struct Timing {
    double medianInSeconds = 0;
    double spreadInPercent = 0;
};

double quantile(const std::vector<double>& sorted, double share) {
    const double position = share * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(position);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (sorted[above] - sorted[below]) * (position - static_cast<double>(below));
}

Timing summarise(std::vector<double> seconds) {
    std::sort(seconds.begin(), seconds.end());
    const double median = quantile(seconds, 0.5);
    const double spread = (quantile(seconds, 0.75) - quantile(seconds, 0.25)) / 2;
    return {median, median > 0 ? 100 * spread / median : 0};
}

// One contender at work: how often it runs in a timed round, and the rounds so far.
struct Course {
    const Contender* contender = nullptr;
    std::uint64_t result = 0;
    std::size_t repeats = 1;
    std::vector<double> seconds;

    // Returns the time of the whole timed round.
    double timeOnce() {
        const double start = cpuSeconds();
        for (std::size_t i = 0; i < repeats; ++i) {
            if (contender->round() != result)
                throw std::runtime_error(contender->name + " changed its result between two rounds");
        }
        settleHeap();  // the contender that left garbage pays for it, not the next one
        const double taken = cpuSeconds() - start;
        seconds.push_back(taken / static_cast<double>(repeats));
        return taken;
    }
};

// The unmeasured first run: warms up, gives the result, and shows how many repeats a timed round needs.
Course warmUp(const Contender& contender) {
    Course course;
    course.contender = &contender;
    course.result = contender.round();
    double taken = course.timeOnce();
    while (taken < kShortestRoundInSeconds && course.repeats < (std::size_t{1} << 24)) {
        const double factor = taken > 0 ? kShortestRoundInSeconds / taken * 1.3 : 16;
        course.repeats =
            static_cast<std::size_t>(static_cast<double>(course.repeats) * std::clamp(factor, 1.3, 16.0)) + 1;
        taken = course.timeOnce();
    }
    course.seconds.clear();
    return course;
}

void demandEqualResults(const std::vector<Course>& courses) {
    for (const Course& course : courses) {
        if (course.result == courses.front().result) continue;
        throw std::runtime_error(courses.front().contender->name + " returns " +
                                 std::to_string(courses.front().result) + " where " + course.contender->name +
                                 " returns " + std::to_string(course.result));
    }
}

enum class Results : std::uint8_t { Equal, Own };

std::vector<Timing> alternate(const std::vector<Contender>& contenders, Results results) {
    std::vector<Course> courses;
    for (const Contender& contender : contenders) courses.push_back(warmUp(contender));
    if (results == Results::Equal) demandEqualResults(courses);
    double spent = 0;
    for (std::size_t round = 0; round < kMaxRounds && (round < kMinRounds || spent < kBudgetInSeconds);
         ++round) {
        // Who goes first changes, so that none always runs in the caches that one other left.
        for (std::size_t i = 0; i < courses.size(); ++i)
            spent += courses[(round + i) % courses.size()].timeOnce();
    }
    std::vector<Timing> timings;
    for (Course& course : courses) timings.push_back(summarise(std::move(course.seconds)));
    return timings;
}

std::string formatted(const char* format, double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

std::string number(double value) {
    return formatted(value < 10 ? "%.2f" : value < 1000 ? "%.1f" : "%.0f", value);
}

std::string columns(const Figure& figure) {
    std::string text = number(figure.median);
    if (figure.spreadInPercent > 0) text += " \xC2\xB1" + formatted("%.0f%%", figure.spreadInPercent);
    return text;
}

// Above 1: ours is the better one.
std::string ratio(const Result& result, const Figure& peer) {
    const double ours = result.figures.front().median;
    const bool higher = result.better == Better::Higher;
    const double divisor = higher ? peer.median : ours;
    if (divisor <= 0) return "-";
    return formatted("%.2f", (higher ? ours : peer.median) / divisor) + "x";
}

// To the left edge of the column; the sign of the spread is two bytes and one column.
std::string padded(std::string text, std::size_t width) {
    const auto extra = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\xC2'));
    if (text.size() < width + extra) text.append(width + extra - text.size(), ' ');
    return text;
}

void print(const Result& result) {
    std::printf("%s %s %s", padded(result.row, 27).c_str(),
                padded(columns(result.figures.front()), 10).c_str(), padded(result.unit, 10).c_str());
    for (std::size_t i = 1; i < result.figures.size(); ++i) {
        const Figure& peer = result.figures[i];
        std::printf(" | %s %s %s", peer.name.c_str(), padded(columns(peer), 10).c_str(),
                    padded(ratio(result, peer), 6).c_str());
    }
    std::printf("\n");
    if (!result.note.empty()) std::printf("    %s\n", result.note.c_str());
    std::fflush(stdout);
}

std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

std::string toJson(const Result& result) {
    const auto value = [](double v) { return std::isfinite(v) ? formatted("%.6g", v) : std::string("null"); };
    std::string out = "{\"name\":" + quoted(result.row) +
                      ",\"ours\":" + value(result.figures.front().median) + ",\"peers\":{";
    for (std::size_t i = 1; i < result.figures.size(); ++i) {
        if (i > 1) out += ",";
        out += quoted(result.figures[i].name) + ":" + value(result.figures[i].median);
    }
    return out + "},\"unit\":" + quoted(result.unit) + "}";
}

bool writeJson(const std::vector<Result>& results, const std::string& path) {
    std::string text = "[\n";
    for (std::size_t i = 0; i < results.size(); ++i)
        text += "  " + toJson(results[i]) + (i + 1 < results.size() ? ",\n" : "\n");
    text += "]\n";
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    return std::fclose(file) == 0 && written;
}

bool selected(const std::string& name, When when, const std::vector<std::string>& prefixes) {
    if (prefixes.empty()) return when == When::Always;
    return std::any_of(prefixes.begin(), prefixes.end(), [&](const std::string& prefix) {
        return when == When::Named ? name == prefix : name.starts_with(prefix);
    });
}

std::optional<Result> runRow(const std::string& name, const RowBody& body, Peers peers) {
    try {
        Row row(name, peers);
        body(row);
        if (row.result().figures.empty()) throw std::runtime_error("the row measured nothing");
        print(row.result());
        return row.result();
    } catch (const std::exception& error) {
        std::printf("%-30s FAILED: %s\n", name.c_str(), error.what());
    } catch (...) {
        std::printf("%-30s FAILED by an exception of the component\n", name.c_str());
    }
    std::fflush(stdout);
    return std::nullopt;
}

}  // namespace

std::vector<Contender> Row::chosen(const std::vector<Contender>& contenders) const {
    if (peers_ == Peers::Run || contenders.empty()) return contenders;
    return {contenders.front()};
}

void Row::throughput(std::uint64_t bytesInRound, const std::vector<Contender>& all) {
    const std::vector<Contender> contenders = chosen(all);
    result_.unit = "MB/s";
    result_.better = Better::Higher;
    const std::vector<Timing> timings = alternate(contenders, Results::Equal);
    for (std::size_t i = 0; i < contenders.size(); ++i) {
        const double rate = static_cast<double>(bytesInRound) / 1e6 / timings[i].medianInSeconds;
        result_.figures.push_back({contenders[i].name, rate, timings[i].spreadInPercent});
    }
}

void Row::latency(std::uint64_t operationsInRound, const std::vector<Contender>& all) {
    const std::vector<Contender> contenders = chosen(all);
    result_.unit = "ns/op";
    result_.better = Better::Lower;
    const std::vector<Timing> timings = alternate(contenders, Results::Equal);
    for (std::size_t i = 0; i < contenders.size(); ++i) {
        const double time = timings[i].medianInSeconds * 1e9 / static_cast<double>(operationsInRound);
        result_.figures.push_back({contenders[i].name, time, timings[i].spreadInPercent});
    }
}

void Row::values(std::string unit, Better better, const std::vector<Value>& values) {
    result_.unit = std::move(unit);
    result_.better = better;
    for (const Value& value : values) result_.figures.push_back({value.name, value.value, 0});
}

void Row::growth(const std::vector<Contender>& sizes) {
    result_.unit = "x/doubling";
    result_.better = Better::Lower;
    const std::vector<Timing> timings = alternate(sizes, Results::Own);
    double worst = 0;
    double spread = 0;
    std::string steps = sizes.front().name + " " + number(timings.front().medianInSeconds * 1e3) + " ms";
    for (std::size_t i = 1; i < sizes.size(); ++i) {
        const double step = timings[i].medianInSeconds / timings[i - 1].medianInSeconds;
        worst = std::max(worst, step);
        spread = std::max(spread, timings[i].spreadInPercent);
        steps += ", " + sizes[i].name + " " + number(timings[i].medianInSeconds * 1e3) + " ms (" +
                 number(step) + "x)";
    }
    result_.figures.push_back({std::string(kOurs), worst, spread});
    note(steps);
}

void Suite::add(std::string name, RowBody body, When when) {
    entries_.push_back({std::move(name), std::move(body), when});
}

void Suite::list() const {
    for (const Entry& entry : entries_)
        std::printf("%s%s\n", entry.name.c_str(),
                    entry.when == When::Named   ? "   (only when named)"
                    : entry.when == When::Asked ? "   (only with a prefix)"
                                                : "");
}

bool Suite::run(const std::vector<std::string>& prefixes, const std::string& jsonPath, Peers peers) const {
    std::printf(
        "%s\nmedian of %zu to %zu alternating rounds, CPU time; \xC2\xB1 half the quartile distance; "
        "ratio above 1: ours is better\n\n",
        describeMachine().c_str(), kMinRounds, kMaxRounds);
    std::vector<Result> results;
    std::size_t failures = 0;
    for (const Entry& entry : entries_) {
        if (!selected(entry.name, entry.when, prefixes)) continue;
        if (std::optional<Result> result = runRow(entry.name, entry.body, peers))
            results.push_back(std::move(*result));
        else
            ++failures;
    }
    if (results.empty() && failures == 0) {
        std::fprintf(stderr, "bench: no row starts with that; --list shows them\n");
        return false;
    }
    if (!jsonPath.empty() && !writeJson(results, jsonPath)) {
        std::fprintf(stderr, "bench: cannot write %s\n", jsonPath.c_str());
        return false;
    }
    if (failures > 0) std::fprintf(stderr, "bench: %zu rows failed\n", failures);
    return failures == 0;
}

}  // namespace bench
