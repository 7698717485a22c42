// coldstart [STARTS]: starts processes in which one operation is the first thing done, by several threads at
// once; with every operation, directly and under the reference host in turn. What is set up on first use then
// is set up in a race. Each thread must have the result that the operation has afterwards.
// Exit status: 0 all did, 1 some did not, crashed or took more than 30 seconds, 2 wrong usage.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <barrier>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/endurance/tasks.h"

extern char** environ;

namespace {

using namespace endurance;

constexpr int kThreads = 4;
constexpr unsigned kHangInSeconds = 30;
constexpr const char* kChild = "--child";

std::string runGuarded(const Task& task, const Workplace& workplace) {
    try {
        return task.run(workplace);
    } catch (const std::exception& error) {
        return std::string("failed: ") + error.what();
    } catch (...) {
        return "failed with an exception that is not the standard library's";
    }
}

int runChild(const Task& task, bool isHosted, const std::string& folder) {
    alarm(kHangInSeconds);
    if (isHosted) enterHost();
    std::array<std::string, kThreads> results;
    std::barrier gate(kThreads);
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            gate.arrive_and_wait();
            results[static_cast<std::size_t>(t)] = runGuarded(task, {folder, t});
        });
    }
    threads.clear();  // waits for their ends
    const std::string expected = runGuarded(task, {folder, kThreads});
    if (expected.empty() || expected.starts_with("failed")) {
        std::fprintf(stderr, "%s: %s\n", task.name.c_str(), expected.c_str());
        return 1;
    }
    for (const std::string& result : results) {
        if (result == expected) continue;
        std::fprintf(stderr, "%s: %.200s\n", task.name.c_str(), result.c_str());
        return 1;
    }
    return 0;
}

// As the system reports it; 0: all was well.
int start(const std::string& program, std::size_t task, bool isHosted, const std::string& folder) {
    std::array<std::string, 5> words{program, kChild, std::to_string(task), isHosted ? "host" : "direct",
                                     folder};
    std::array<char*, 6> arguments{};
    for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
    pid_t child = 0;
    if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ) != 0)
        throw std::runtime_error("cannot start " + program);
    int status = 0;
    if (waitpid(child, &status, 0) != child) throw std::runtime_error("a child process is lost");
    return status;
}

int runAll(int starts) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    std::string folder = (std::filesystem::temp_directory_path() / "coldstart-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
    writeInputs(folder);
    std::map<std::string, int> failures;
    for (int i = 0; i < starts; ++i) {
        const std::size_t task = static_cast<std::size_t>(i) / 2 % tasks().size();
        const bool isHosted = i % 2 != 0;
        const int status = start(program, task, isHosted, folder);
        if (status == 0) continue;
        std::string how = tasks()[task].name + (isHosted ? " under a host" : "");
        how += WIFSIGNALED(status) ? ": signal " + std::to_string(WTERMSIG(status)) : ": wrong result";
        ++failures[how];
    }
    std::filesystem::remove_all(folder);
    for (const auto& [how, count] : failures) std::printf("%4d times %s\n", count, how.c_str());
    std::printf("%d cold starts on %d threads, %zu kinds of failure\n", starts, kThreads, failures.size());
    return failures.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 5 && std::string(argv[1]) == kChild)
            return runChild(tasks().at(std::stoul(argv[2])), std::string(argv[3]) == "host", argv[4]);
        const int starts = argc == 2 ? std::atoi(argv[1]) : 2'000;
        if (argc > 2 || starts <= 0) {
            std::fputs("usage: coldstart [STARTS]\n", stderr);
            return 2;
        }
        return runAll(starts);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "coldstart: %s\n", error.what());
        return 1;
    }
}
