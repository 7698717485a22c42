#include "tools/kelxml/progress.h"

#include <cinttypes>
#include <cstdio>
#include <utility>

#include "tools/kelxml/platform/files.h"

namespace kelxml {

namespace {

constexpr std::uint64_t kCallsBetweenLooks = 4096;  // at the clock
constexpr std::chrono::milliseconds kBetweenLines{200};

}  // namespace

// Beside a result that scrolls by on the same terminal, it would only be in the way.
Progress::Progress(std::string phase)
    : phase_(std::move(phase)), isShown_(isTerminal(stderr) && !isTerminal(stdout)) {
    if (isShown_) std::fprintf(stderr, "\r%s...\x1b[K", phase_.c_str());
}

Progress::~Progress() {
    if (isShown_) std::fputs("\r\x1b[K", stderr);
}

void Progress::show(std::uint64_t count, const char* unit) {
    if (!isShown_ || ++calls_ % kCallsBetweenLooks != 0) return;
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) return;
    next_ = now + kBetweenLines;
    std::fprintf(stderr, "\r%s... %" PRIu64 " %s\x1b[K", phase_.c_str(), count, unit);
}

}  // namespace kelxml
