#include "tests/sweep/measure.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <stdexcept>

namespace sweep {
namespace {

constexpr rlim_t kCpuLimitInSeconds = 20;
constexpr rlim_t kMemoryLimitInBytes = rlim_t{8} << 30;

double cpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double statusInBytes(const std::string& key) {
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;) {
        double kilobytes = 0;
        if (word == key && file >> kilobytes) return kilobytes * 1024;
    }
    throw std::runtime_error("the system does not report " + key);
}

void forgetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

Cost measureHere(const std::function<std::function<Delivery()>()>& prepare) {
    const std::function<Delivery()> work = prepare();
    forgetPeak();
    const double before = statusInBytes("VmRSS:");
    Cost cost;
    const double start = cpuSeconds();
    const Delivery delivery = work();
    cost.cpuSeconds = cpuSeconds() - start;
    cost.peakInBytes = statusInBytes("VmHWM:") - before;
    cost.deliveredInBytes = delivery.bytes;
    cost.isRejected = delivery.isRejected;
    return cost;
}

[[noreturn]] void runChild(int result, const std::function<std::function<Delivery()>()>& prepare) {
    const rlimit cpu{kCpuLimitInSeconds, kCpuLimitInSeconds + 1};
    const rlimit memory{kMemoryLimitInBytes, kMemoryLimitInBytes};
    (void)setrlimit(RLIMIT_CPU, &cpu);
    (void)setrlimit(RLIMIT_AS, &memory);
    int status = 1;
    try {
        const Cost cost = measureHere(prepare);
        if (write(result, &cost, sizeof cost) == static_cast<ssize_t>(sizeof cost)) status = 0;
    } catch (const std::bad_alloc&) {
        status = 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    } catch (...) {
        std::fputs("an exception that is not the standard library's\n", stderr);
    }
    _exit(status);
}

}  // namespace

Cost measure(const std::function<std::function<Delivery()>()>& prepare) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    (void)std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no child process");
    if (child == 0) runChild(ends[1], prepare);
    close(ends[1]);
    Cost cost;
    const bool isWhole = read(ends[0], &cost, sizeof cost) == static_cast<ssize_t>(sizeof cost);
    close(ends[0]);
    int status = 0;
    if (waitpid(child, &status, 0) != child) throw std::runtime_error("the child process is lost");
    if (isWhole && WIFEXITED(status) && WEXITSTATUS(status) == 0) return cost;
    const bool isOutOfTime =
        WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL);
    const bool isOutOfMemory = WIFEXITED(status) && WEXITSTATUS(status) == 2;
    if (!isOutOfTime && !isOutOfMemory)
        throw std::runtime_error(WIFSIGNALED(status) ? "crashed" : "ended with an exception");
    cost = {};
    cost.isKilled = true;
    return cost;
}

}  // namespace sweep
