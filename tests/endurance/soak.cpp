// soak [SECONDS]: four threads under the reference host do all operations over and over, half an hour unless
// set otherwise. All results must stay what they were the first time, and resident memory at the end must be
// within 2 % of what it was after the first minute (of a shorter run: after its first third). Exit status: 0
// it was, 1 it was not, 2 wrong usage.
#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/endurance/tasks.h"

namespace {

using namespace endurance;
using Clock = std::chrono::steady_clock;

constexpr int kThreads = 4;
constexpr double kMaxGrowth = 1.02;
constexpr int kDefaultSeconds = 1'800;
constexpr int kSettledAfterSeconds = 60;

double residentInMegabytes() {
    std::ifstream file("/proc/self/statm");
    double pages = 0;
    file >> pages >> pages;
    return pages * 4096 / 1e6;
}

class Soak {
public:
    Soak(int seconds, std::string folder) : seconds_(seconds), folder_(std::move(folder)) {
        for (const Task& task : tasks()) expected_[task.name] = task.run({folder_, kThreads});
    }

    [[nodiscard]] bool run() {
        std::vector<std::jthread> threads;
        for (int t = 0; t < kThreads; ++t) threads.emplace_back([this, t] { work({folder_, t}); });
        threads.clear();  // waits for their ends
        const double settled = settledInMegabytes_;
        std::printf("%llu tasks; resident %.1f MB after %d s, %.1f MB at the end (%+.2f %%)\n",
                    static_cast<unsigned long long>(done_.load()), settled, settledAfter(), residentNow_,
                    100 * (residentNow_ / settled - 1));
        if (!failure_.empty()) std::printf("FAILED: %s\n", failure_.c_str());
        return failure_.empty() && residentNow_ <= settled * kMaxGrowth;
    }

private:
    [[nodiscard]] int settledAfter() const { return std::min(kSettledAfterSeconds, seconds_ / 3); }
    [[nodiscard]] double elapsed() const {
        return std::chrono::duration<double>(Clock::now() - start_).count();
    }

    void work(const Workplace& workplace) {
        std::minstd_rand random(static_cast<unsigned>(workplace.thread));
        while (!isOver_) {
            // Memory is compared while no thread is at work, with the same tasks done by all.
            std::vector<const Task*> order;
            for (const Task& task : tasks()) order.insert(order.end(), 3, &task);
            std::shuffle(order.begin(), order.end(), random);
            for (const Task* const task : order) runOne(*task, workplace);
            gate_.arrive_and_wait();
        }
    }

    void runOne(const Task& task, const Workplace& workplace) {
        std::string problem;
        try {
            if (task.run(workplace) != expected_.at(task.name)) problem = "another result";
        } catch (const std::exception& error) {
            problem = error.what();
        }
        ++done_;
        if (problem.empty()) return;
        const std::lock_guard guard(lock_);
        failure_ = task.name + ": " + problem;
        hasFailed_ = true;
    }

    // On one thread, while the others wait.
    void takeStock() noexcept {
        residentNow_ = residentInMegabytes();
        const double now = elapsed();
        if (now <= settledAfter()) settledInMegabytes_ = residentNow_;
        if (now >= nextReport_) {
            std::printf("%6.0f s  %8llu tasks  %.1f MB\n", now, static_cast<unsigned long long>(done_.load()),
                        residentNow_);
            (void)std::fflush(stdout);
            nextReport_ = now + 60;
        }
        isOver_ = hasFailed_ || now >= seconds_;
    }

    struct TakeStock {
        Soak* soak;
        void operator()() noexcept { soak->takeStock(); }
    };

    int seconds_;
    std::string folder_;
    std::map<std::string, std::string> expected_;
    Clock::time_point start_ = Clock::now();
    std::barrier<TakeStock> gate_{kThreads, TakeStock{this}};
    std::atomic<bool> isOver_ = false;
    std::atomic<bool> hasFailed_ = false;
    std::atomic<std::uint64_t> done_ = 0;
    double residentNow_ = 0;
    double settledInMegabytes_ = 0;
    double nextReport_ = 0;
    std::mutex lock_;
    std::string failure_;
};

}  // namespace

int main(int argc, char** argv) {
    const int seconds = argc == 2 ? std::atoi(argv[1]) : kDefaultSeconds;
    if (argc > 2 || seconds <= 0) {
        std::fputs("usage: soak [SECONDS]\n", stderr);
        return 2;
    }
    try {
        std::string folder = (std::filesystem::temp_directory_path() / "soak-XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
        writeInputs(folder);
        enterHost();
        const bool isFine = Soak(seconds, folder).run();
        std::filesystem::remove_all(folder);
        return isFine ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 1;
    }
}
