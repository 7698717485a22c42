#include "KelBasicTypes/platform/process.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "KelBasicTypes/utf8.h"

namespace kel::platform {
namespace {

constexpr std::size_t kMaxDirectoryUnits = 256;
constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;

}  // namespace

std::uint32_t processId() noexcept {
    return static_cast<std::uint32_t>(getpid());
}

std::uint64_t performanceCounter() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * kNanosecondsPerSecond +
           static_cast<std::uint64_t>(now.tv_nsec);
}

std::u16string currentDirectory() {
    char bytes[4 * kMaxDirectoryUnits];  // no unit takes more than three bytes of UTF-8
    if (getcwd(bytes, sizeof bytes) == nullptr) return {};
    std::u16string text = fromUtf8(bytes);
    const bool isText = toUtf8(text) == bytes;
    return isText && text.size() <= kMaxDirectoryUnits ? text : std::u16string();
}

std::uintptr_t currentThread() noexcept {
    // Not the address of a thread-local, which might have to be allocated first.
    static_assert(sizeof(pthread_t) == sizeof(std::uintptr_t));
    return (std::uintptr_t)pthread_self();  // NOLINT: a number on some systems, a pointer on others
}

void sleepFor(std::uint32_t milliseconds) noexcept {
    timespec rest{static_cast<time_t>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

void endProcess(int status) noexcept {
    for (std::FILE* stream : {stdout, stderr}) {
        if (ftrylockfile(stream) != 0) continue;
        (void)std::fflush(stream);  // the process ends either way
        funlockfile(stream);
    }
    std::_Exit(status);
}

}  // namespace kel::platform
