#include "tools/kelxml/platform/interruption.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <mutex>

#include <limits.h>
#include <unistd.h>

namespace kelxml {

namespace {

constexpr std::array kInterruptions{SIGINT, SIGTERM, SIGHUP};

// Plain memory, for a signal handler must not allocate. A path is whole before its flag is set, for the
// signal may come to another thread than the one that registers.
struct Slot {
    std::array<char, PATH_MAX> path{};
    std::atomic<bool> isUsed{false};
};
std::array<Slot, 16> registered{};
std::mutex registering;

// A thread that holds interruptions back already, as those that work beside the first one do, goes on so.
thread_local int depth = 0;
thread_local sigset_t before;

sigset_t interruptions() noexcept {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : kInterruptions) ::sigaddset(&set, signal);
    return set;
}

extern "C" void onInterruption(int signal) {
    for (const Slot& slot : registered) {
        if (slot.isUsed) ::unlink(slot.path.data());
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
    ::pthread_sigmask(SIG_BLOCK, &set, depth++ == 0 ? &before : nullptr);
}

UninterruptedWork::~UninterruptedWork() {
    if (--depth == 0) ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void registerTemporaryFile(const std::filesystem::path& path) noexcept {
    const std::lock_guard lock(registering);
    const auto slot = std::ranges::find_if(registered, [](const Slot& each) { return !each.isUsed; });
    if (slot == registered.end() || path.native().size() >= slot->path.size()) return;
    std::memcpy(slot->path.data(), path.c_str(), path.native().size() + 1);
    slot->isUsed = true;
}

void forgetTemporaryFile(const std::filesystem::path& path) noexcept {
    const std::lock_guard lock(registering);
    const auto slot = std::ranges::find_if(
        registered, [&path](const Slot& each) { return each.isUsed && path.native() == each.path.data(); });
    if (slot != registered.end()) slot->isUsed = false;
}

}  // namespace kelxml
