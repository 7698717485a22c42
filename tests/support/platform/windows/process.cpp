#include "tests/support/process.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace kel::test {

namespace {

[[noreturn]] void throwSystemError(const char* what) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

std::wstring wide(std::string_view utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end())).wstring();
}

struct HandleCloser {
    void operator()(HANDLE handle) const noexcept { (void)CloseHandle(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

Handle handleOf(HANDLE handle, const char* what) {
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE) throwSystemError(what);
    return Handle(handle);
}

SECURITY_ATTRIBUTES inheritable() {
    return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
}

// The program gets one end, the test keeps the other to itself.
struct Pipe {
    enum class Kept { Read, Write };
    explicit Pipe(Kept kept) {
        SECURITY_ATTRIBUTES attributes = inheritable();
        HANDLE ends[2];
        if (CreatePipe(&ends[0], &ends[1], &attributes, 0) == 0) throwSystemError("pipe");
        read = Handle(ends[0]);
        write = Handle(ends[1]);
        (void)SetHandleInformation(kept == Kept::Read ? ends[0] : ends[1], HANDLE_FLAG_INHERIT, 0);
    }
    Handle read;
    Handle write;
};

// As CommandLineToArgvW takes it apart again: backslashes count only before a quote.
std::wstring quoted(const std::wstring& argument) {
    std::wstring result = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t unit : argument) {
        if (unit == L'"') result.append(backslashes + 1, L'\\');
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        result += unit;
    }
    return result.append(backslashes, L'\\') + L'"';
}

std::wstring commandLineOf(const std::vector<std::string>& command) {
    std::wstring line;
    for (const std::string& argument : command) line += (line.empty() ? L"" : L" ") + quoted(wide(argument));
    return line;
}

// Programs get the variables of this process: set for as long as this lives.
class Variable {
public:
    explicit Variable(std::string_view nameAndValue) {
        const std::size_t at = nameAndValue.find('=');
        name_ = wide(nameAndValue.substr(0, at));
        std::array<wchar_t, 4096> before{};
        if (GetEnvironmentVariableW(name_.c_str(), before.data(), DWORD{before.size()}) != 0)
            before_ = before.data();
        (void)SetEnvironmentVariableW(name_.c_str(), wide(nameAndValue.substr(at + 1)).c_str());
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { (void)SetEnvironmentVariableW(name_.c_str(), before_ ? before_->c_str() : nullptr); }

private:
    std::wstring name_;
    std::optional<std::wstring> before_;
};

Handle start(const std::vector<std::string>& command, const std::string& folder, HANDLE input, HANDLE output,
             HANDLE errors) {
    STARTUPINFOW streams{};
    streams.cb = sizeof streams;
    streams.dwFlags = STARTF_USESTDHANDLES;
    streams.hStdInput = input;
    streams.hStdOutput = output;
    streams.hStdError = errors;
    std::wstring line = commandLineOf(command);
    const std::wstring where = wide(folder);
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                       where.empty() ? nullptr : where.c_str(), &streams, &process) == 0)
        throwSystemError(command[0].c_str());
    const Handle thread(process.hThread);
    return Handle(process.hProcess);
}

int statusOf(HANDLE process) {
    (void)WaitForSingleObject(process, INFINITE);
    DWORD status = 0;
    if (GetExitCodeProcess(process, &status) == 0) throwSystemError("exit status");
    return static_cast<int>(status);
}

void send(Handle to, std::string_view bytes) {
    DWORD sent = 0;
    while (!bytes.empty() &&
           WriteFile(to.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &sent, nullptr) != 0)
        bytes.remove_prefix(sent);
}

void receive(Handle from, std::string& to, std::size_t atMost) {
    std::array<char, 4096> block{};
    DWORD size = 0;
    while (to.size() < atMost && ReadFile(from.get(), block.data(), DWORD{block.size()}, &size, nullptr) != 0)
        to.append(block.data(), size);
}

}  // namespace

RunResult run(const std::vector<std::string>& command, const RunOptions& options) {
    std::vector<std::unique_ptr<Variable>> variables;
    for (const std::string& variable : options.environment)
        variables.push_back(std::make_unique<Variable>(variable));
    Pipe input(Pipe::Kept::Write);
    Pipe output(Pipe::Kept::Read);
    Pipe errors(Pipe::Kept::Read);
    if (!options.outputDevice.empty()) {
        SECURITY_ATTRIBUTES attributes = inheritable();
        output.write = handleOf(CreateFileW(wide(options.outputDevice).c_str(), GENERIC_WRITE,
                                            FILE_SHARE_WRITE, &attributes, OPEN_EXISTING, 0, nullptr),
                                options.outputDevice.c_str());
    }
    const Handle process =
        start(command, options.folder, input.read.get(), output.write.get(), errors.write.get());
    input.read.reset();
    output.write.reset();
    errors.write.reset();

    RunResult result;
    std::thread sending(send, std::move(input.write), options.input);
    std::thread receiving(receive, std::move(errors.read), std::ref(result.errors), std::string::npos);
    receive(std::move(output.read), result.output, options.readAtMost);
    receiving.join();
    sending.join();
    result.status = statusOf(process.get());
    return result;
}

struct Companion::State {
    Handle process;
    Handle output;
};

Companion::Companion(const std::vector<std::string>& command) : state_(std::make_unique<State>()) {
    Pipe output(Pipe::Kept::Read);
    state_->process = start(command, {}, nullptr, output.write.get(), GetStdHandle(STD_ERROR_HANDLE));
    state_->output = std::move(output.read);
}

Companion::~Companion() {
    kill();
}

std::string Companion::readLine() {
    std::string line;
    char byte = 0;
    DWORD size = 0;
    while (ReadFile(state_->output.get(), &byte, 1, &size, nullptr) != 0 && size == 1 && byte != '\n')
        line += byte;
    return line;
}

void Companion::kill() {
    if (state_->process == nullptr) return;
    (void)TerminateProcess(state_->process.get(), 1);  // it may have ended already
    (void)WaitForSingleObject(state_->process.get(), INFINITE);
    state_->process.reset();
}

}  // namespace kel::test
