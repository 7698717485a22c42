// Runs a program as a person at a shell would, and says what came of it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kel::test {

struct RunOptions {
    std::string_view input = {};                 // what the program reads on standard input
    std::size_t readAtMost = std::string::npos;  // bytes of standard output after which no more is read
    std::string outputDevice = {};  // where standard output goes instead; then RunResult::output is empty
    std::string folder = {};        // where the program runs; by default where the test does
    std::vector<std::string> environment = {};  // "NAME=value", beside what the test has
};

struct RunResult {
    int status = -1;  // exit status; on POSIX systems 128 + N for a program that signal N ended
    std::string output;
    std::string errors;
};

// `command` is the program's path and its arguments, in UTF-8. Ends by itself only when the program does; the
// tests' own time limit is the guard. Throws std::system_error if the program cannot be run at all.
[[nodiscard]] RunResult run(const std::vector<std::string>& command, const RunOptions& options = {});

// A program beside the test, without input; it is killed when this object goes.
class Companion {
public:
    explicit Companion(const std::vector<std::string>& command);  // throws like run()
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;
    ~Companion();

    [[nodiscard]] std::string readLine();  // what it wrote, up to a line feed or the end; waits for it
    void kill();                           // returns when it is gone

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kel::test
