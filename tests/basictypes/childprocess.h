// Runs a piece of a test in a process of its own, for what ends a process or needs a second one.
#pragma once

#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

namespace kel::test {

class ChildProcess final {
public:
    static constexpr int kBodyReturned = 77;  // exit status of a child whose body came to its end

    // The child leaves without running the test program's own endings.
    explicit ChildProcess(const std::function<void()>& body) {
        std::fflush(nullptr);  // or the child would write what waits here once more
        id_ = fork();
        if (id_ != 0) return;
        body();
        _exit(kBodyReturned);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        if (isRunning_) kill();
    }

    void kill() {
        ::kill(id_, SIGKILL);
        (void)waitForStatus();
    }

    // Exit status, or minus the number of the signal that ended it.
    int waitForStatus() {
        int status = 0;
        waitpid(id_, &status, 0);
        isRunning_ = false;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t id_ = -1;
    bool isRunning_ = true;
};

}  // namespace kel::test
