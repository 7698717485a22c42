#include "tools/kelxml/platform/interruption.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>

#include <limits.h>
#include <unistd.h>

namespace kelxml {

namespace {

constexpr std::array kInterruptions{SIGINT, SIGTERM, SIGHUP};

// Plain memory, for a signal handler must not allocate; changed only while the signals are blocked.
using Path = std::array<char, PATH_MAX>;
std::array<Path, 8> registered{};

sigset_t interruptions() noexcept {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : kInterruptions) ::sigaddset(&set, signal);
    return set;
}

extern "C" void onInterruption(int signal) {
    for (const Path& path : registered) {
        if (path[0] != '\0') ::unlink(path.data());
    }
    // The shell is to see that it was the signal that ended us.
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

}  // namespace

void removeTemporaryFilesWhenInterrupted() noexcept {
    for (const int signal : kInterruptions) {
        struct sigaction before {};
        // Who started us in the background, or with nohup, may have chosen to ignore a signal.
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        action.sa_handler = onInterruption;
        action.sa_mask = interruptions();
        ::sigaction(signal, &action, nullptr);
    }
}

UninterruptedWork::UninterruptedWork() noexcept {
    const sigset_t set = interruptions();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

UninterruptedWork::~UninterruptedWork() {
    const sigset_t set = interruptions();
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void registerTemporaryFile(const std::filesystem::path& path) noexcept {
    const auto place = std::ranges::find_if(registered, [](const Path& each) { return each[0] == '\0'; });
    if (place == registered.end() || path.native().size() >= place->size()) return;
    std::memcpy(place->data(), path.c_str(), path.native().size() + 1);
}

void forgetTemporaryFile(const std::filesystem::path& path) noexcept {
    const auto place =
        std::ranges::find_if(registered, [&path](const Path& each) { return path.native() == each.data(); });
    if (place != registered.end() && !path.empty()) place->front() = '\0';
}

}  // namespace kelxml
