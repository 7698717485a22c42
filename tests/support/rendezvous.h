// Threads that wait for one another.
#pragma once

#include <condition_variable>
#include <mutex>

namespace kel::test {

// Holds each thread until as many have arrived as it was made for; then it starts again. Stands in for
// std::barrier and std::latch in tests that run on Windows: where the system cannot wait for a value, GCC's
// library before version 13 loses a notification that comes between its look at the value and its sleep.
class Rendezvous final {
public:
    explicit Rendezvous(int parties) : parties_(parties) {}
    Rendezvous(const Rendezvous&) = delete;
    Rendezvous& operator=(const Rendezvous&) = delete;

    void arriveAndWait() {
        std::unique_lock held(mutex_);
        const unsigned round = round_;
        if (++arrived_ == parties_) {
            arrived_ = 0;
            ++round_;
            all_.notify_all();
        }
        all_.wait(held, [&] { return round_ != round; });
    }

private:
    std::mutex mutex_;
    std::condition_variable all_;
    int parties_;
    int arrived_ = 0;
    unsigned round_ = 0;
};

}  // namespace kel::test
