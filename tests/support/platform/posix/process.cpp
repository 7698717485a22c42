#include "tests/support/process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kel::test {

namespace {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() { close(); }

    void close() {
        if (number_ >= 0) ::close(number_);
        number_ = -1;
    }
    [[nodiscard]] int number() const { return number_; }
    [[nodiscard]] bool isOpen() const { return number_ >= 0; }

private:
    int number_ = -1;
};

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe");
        read = Descriptor(ends[0]);
        write = Descriptor(ends[1]);
    }
    Descriptor read;
    Descriptor write;
};

[[noreturn]] void becomeProgram(const std::vector<std::string>& command, const RunOptions& options, int input,
                                int output, int errors) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(errors, STDERR_FILENO);
    std::signal(SIGPIPE, SIG_DFL);
    for (const std::string& variable : options.environment) ::putenv(const_cast<char*>(variable.c_str()));
    if (!options.folder.empty() && ::chdir(options.folder.c_str()) != 0) ::_exit(126);
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
}

// Moves bytes in all three directions until the program has closed both its outputs.
class Exchange {
public:
    Exchange(Descriptor toInput, Descriptor fromOutput, Descriptor fromErrors, const RunOptions& options)
        : input_(std::move(toInput)),
          output_(std::move(fromOutput)),
          errors_(std::move(fromErrors)),
          unsent_(options.input),
          readAtMost_(options.readAtMost) {}

    void pump(RunResult& result) {
        while (output_.isOpen() || errors_.isOpen()) {
            if (unsent_.empty()) input_.close();
            std::array<pollfd, 3> waiting{pollfd{input_.number(), POLLOUT, 0},
                                          pollfd{output_.number(), POLLIN, 0},
                                          pollfd{errors_.number(), POLLIN, 0}};
            if (::poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) return;
            if (waiting[0].revents != 0) send();
            if (waiting[1].revents != 0) receive(output_, result.output);
            if (waiting[2].revents != 0) receive(errors_, result.errors);
            if (result.output.size() >= readAtMost_) output_.close();
        }
    }

private:
    void send() {
        const ssize_t sent =
            ::write(input_.number(), unsent_.data(), std::min<std::size_t>(unsent_.size(), 4096));
        if (sent < 0)
            unsent_ = {};  // there is no reader
        else
            unsent_.remove_prefix(static_cast<std::size_t>(sent));
    }

    static void receive(Descriptor& from, std::string& to) {
        std::array<char, 4096> block{};
        const ssize_t size = ::read(from.number(), block.data(), block.size());
        if (size <= 0)
            from.close();
        else
            to.append(block.data(), static_cast<std::size_t>(size));
    }

    Descriptor input_;
    Descriptor output_;
    Descriptor errors_;
    std::string_view unsent_;
    std::size_t readAtMost_;
};

}  // namespace

RunResult run(const std::vector<std::string>& command, const RunOptions& options) {
    std::signal(SIGPIPE, SIG_IGN);  // a program that reads no input must not end the test
    Pipe input;
    Pipe output;
    Pipe errors;
    if (!options.outputDevice.empty()) {
        output.write = Descriptor(::open(options.outputDevice.c_str(), O_WRONLY | O_CLOEXEC));
    }
    const pid_t child = ::fork();
    if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (child == 0) {
        becomeProgram(command, options, input.read.number(), output.write.number(), errors.write.number());
    }
    input.read.close();
    output.write.close();
    errors.write.close();

    RunResult result;
    Exchange(std::move(input.write), std::move(output.read), std::move(errors.read), options).pump(result);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

struct Companion::State {
    pid_t process = -1;
    Descriptor output;
};

Companion::Companion(const std::vector<std::string>& command) : state_(std::make_unique<State>()) {
    const Descriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    Pipe output;
    state_->process = ::fork();
    if (state_->process < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (state_->process == 0)
        becomeProgram(command, {}, nothing.number(), output.write.number(), STDERR_FILENO);
    state_->output = std::move(output.read);
}

Companion::~Companion() {
    kill();
}

std::string Companion::readLine() {
    std::string line;
    char byte = 0;
    while (::read(state_->output.number(), &byte, 1) == 1 && byte != '\n') line += byte;
    return line;
}

void Companion::kill() {
    if (state_->process < 0) return;
    ::kill(state_->process, SIGKILL);
    while (::waitpid(state_->process, nullptr, 0) < 0 && errno == EINTR) {
    }
    state_->process = -1;
}

}  // namespace kel::test
