#include "tools/kelxml/report/console.h"

#include <cerrno>
#include <cstdio>
#include <mutex>
#include <string>
#include <system_error>

#include "tools/kelxml/platform/encoding.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

// Never destroyed: a thread may still report while the process ends.
struct Console {
    std::mutex mutex;
    bool isStatusShown = false;
    bool isStatusOver = false;
};

Console& console() {
    static auto& instance = *new Console;
    return instance;
}

void takeStatusBack(Console& locked) noexcept {
    if (!locked.isStatusShown) return;
    (void)std::fputs("\r\x1b[K", stderr);
    (void)std::fflush(stderr);
    locked.isStatusShown = false;
}

}  // namespace

void writeOutput(std::string_view bytes) {
    Console& shared = console();
    const std::lock_guard lock(shared.mutex);
    if (isTerminal(stdout)) {
        takeStatusBack(shared);
        shared.isStatusOver = true;
    }
    const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
    if (isWritten && std::fflush(stdout) == 0) return;
    const int error = errno;
    if (error == EPIPE) throw ReaderGone();
    throw OutputException(kRejected,
                          tr("cannot write to standard output: %1", std::generic_category().message(error)));
}

void writeErrors(std::string_view lines) noexcept {
    Console& shared = console();
    const std::lock_guard lock(shared.mutex);
    takeStatusBack(shared);
    try {
        const std::string bytes = inTerminalEncoding(lines);
        (void)std::fwrite(bytes.data(), 1, bytes.size(), stderr);
    } catch (const std::bad_alloc&) {
        (void)std::fwrite(lines.data(), 1, lines.size(), stderr);
    }
}

void showStatus(std::string_view line) noexcept {
    Console& shared = console();
    const std::lock_guard lock(shared.mutex);
    if (line.empty() || shared.isStatusOver) return takeStatusBack(shared);
    // Without wrapping: only the last row of a longer line could be taken back.
    (void)std::fprintf(stderr, "\r\x1b[K\x1b[?7l%.*s\x1b[?7h", static_cast<int>(line.size()), line.data());
    shared.isStatusShown = true;
}

}  // namespace kelxml
