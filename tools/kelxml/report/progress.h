// Shows on a terminal how far the work on the files is, in percent where their sizes are known, else for how
// long it has been going on. Elsewhere it shows nothing. Threads: all operations may run together.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace kelxml {

class Progress {
public:
    // The sizes are looked up here; of pipes and standard input they are not known.
    explicit Progress(const std::vector<std::string>& files);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    [[nodiscard]] std::uint64_t total() const noexcept { return total_; }  // bytes, as far as they are known

    void advance(std::uint64_t bytes) noexcept { done_ += bytes; }  // so many more have been read
    // What is done with a file that has been read; empty: it is being read.
    void setPhase(const std::string& phase);
    void finishFile() noexcept { ++finished_; }

private:
    void paint(const std::stop_token& stop);
    [[nodiscard]] std::string line(long seconds);

    std::size_t count_;
    std::string first_;  // the only one, if there are no more
    std::uint64_t total_ = 0;
    bool isTotalKnown_ = true;
    std::atomic<std::uint64_t> done_{0};
    std::atomic<std::size_t> finished_{0};
    std::mutex mutex_;
    std::string phase_;  // guarded by the mutex
    std::condition_variable_any wake_;
    std::jthread painter_;  // the last member: it stops and is joined before the others go
};

}  // namespace kelxml
