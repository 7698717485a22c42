// basic/condition, basic/pool/…: what several threads share. threads/…: how much more two threads with a
// parser each get done than one. Once a process has started a thread its locks cost more for good: these rows
// come last, or run in a child process.
#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "KelBasicTypes/kelcondition.h"
#include "KelBasicTypes/kelmutex.h"
#include "bench/child.h"
#include "bench/documents.h"
#include "bench/rows.h"
#include "bench/streams.h"
#include "bench/trees.h"

namespace bench {
namespace {

constexpr int kRuns = 9;

double processorNanoseconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC * 1e9;
}

template <class Work>
double medianNanoseconds(Work work) {
    std::array<double, kRuns> runs{};
    for (double& run : runs) {
        const double start = processorNanoseconds();
        work();
        run = processorNanoseconds() - start;
    }
    std::nth_element(runs.begin(), runs.begin() + kRuns / 2, runs.end());
    return runs[kRuns / 2];
}

// With an empty `host` the process has no host, and the basic types have a pool of their own.
std::vector<std::string> withHost(std::vector<std::string> task, const std::string& host) {
    if (!host.empty()) task.push_back(host);
    return task;
}

void sharedPoolRow(Row& row, int threads, const std::string& host) {
    const std::vector<double> found = runInChild(withHost({"pool", std::to_string(threads)}, host), 2);
    row.values("ns/op", Better::Lower, {{std::string(kOurs), found[0]}, {"malloc", found[1]}});
}

template <class Library>
void scalingRow(Row& row, const std::string& task, const std::vector<const Library*>& libraries,
                const Document& document, const std::string& host) {
    std::vector<Value> values;
    double digest = 0;
    for (const Library* const library : libraries) {
        const std::string name(library->name());
        const std::vector<double> found =
            runInChild(withHost({task, name, document.path}, name == kOurs ? host : std::string()), 2);
        if (digest == 0) digest = found[1];
        if (found[1] != digest) throw std::runtime_error(name + " reads other content than ours");
        values.push_back({name, found[0]});
    }
    row.values("x, of 2", Better::Higher, values);
}

constexpr int kRoundTrips = 5'000;

// Two threads hand a turn to and fro. `Pair` has lock, unlock, wait and wake for each side.
template <class Pair>
void playRoundTrips() {
    Pair pair;
    int turn = 0;
    const auto play = [&](int side) {
        pair.lock();
        for (int i = 0; i < kRoundTrips; ++i) {
            while (turn != side) pair.wait(side);
            turn = 1 - side;
            pair.wake(1 - side);
        }
        pair.unlock();
    };
    std::thread other(play, 1);
    play(0);
    other.join();
}

template <class Pair>
double perRoundTrip() {
    return medianNanoseconds(playRoundTrips<Pair>) / kRoundTrips;
}

class OurPair {
public:
    OurPair() { mutex_.create(); }
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }
    void wait(int side) { conditions_[static_cast<std::size_t>(side)].wait(mutex_); }
    void wake(int side) { conditions_[static_cast<std::size_t>(side)].signal(); }

private:
    KelMutex mutex_;
    std::array<KelCondition, 2> conditions_;
};

class StandardPair {
public:
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }
    void wait(int side) {
        std::unique_lock held(mutex_, std::adopt_lock);
        conditions_[static_cast<std::size_t>(side)].wait(held);
        (void)held.release();  // stays locked for the caller
    }
    void wake(int side) { conditions_[static_cast<std::size_t>(side)].notify_one(); }

private:
    std::mutex mutex_;
    std::array<std::condition_variable, 2> conditions_;
};

void conditionRow(Row& row) {
    row.values("ns/op", Better::Lower,
               {{std::string(kOurs), perRoundTrip<OurPair>()}, {"std", perRoundTrip<StandardPair>()}});
}

}  // namespace

void addThreadRows(Suite& suite, const Documents& documents) {
    constexpr const char* kDocument = "Gio-2.0.gir";
    for (const std::string host : {"", "host"}) {
        const std::string end = host.empty() ? host : "/" + host;
        suite.add("threads/load" + end, [&documents, host](Row& row) {
            scalingRow(row, "scaling/load", treeLibraries(), documents.find(kDocument), host);
        });
        suite.add("threads/sax" + end, [&documents, host](Row& row) {
            scalingRow(row, "scaling/sax", streamLibraries(), documents.find(kDocument), host);
        });
    }
    for (const std::string host : {"", "host"}) {
        const std::string end = host.empty() ? host : "/" + host;
        for (const int threads : {1, 2, 4}) {
            suite.add("basic/pool/" + std::to_string(threads) + "threads" + end,
                      [threads, host](Row& row) { sharedPoolRow(row, threads, host); });
        }
    }
    suite.add("basic/condition", conditionRow);
}

}  // namespace bench
