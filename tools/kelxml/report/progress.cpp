// The line is painted by a thread of its own: a long parse gives no sign of life by itself.
#include "tools/kelxml/report/progress.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "host/text.h"
#include "tools/kelxml/platform/encoding.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/platform/interruption.h"
#include "tools/kelxml/report/console.h"
#include "tools/kelxml/report/diagnostic.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/output.h"

namespace kelxml {

namespace {

using namespace std::chrono_literals;

// What is done sooner is not worth a line that flickers.
constexpr auto kBeforeFirstLine = 400ms;
constexpr auto kBetweenLines = 200ms;
constexpr std::size_t kNameInCharacters = 40;

bool isWatched() {
    return isTerminal(stderr) && !isDumbTerminal() && !isSuppressed(Severity::Note);
}

}  // namespace

Progress::Progress(const std::vector<std::string>& files)
    : count_(files.size()), first_(files.empty() ? std::string() : files.front()) {
    for (const std::string& file : files) {
        std::error_code unknown;
        const auto size = file == "-" ? 0 : std::filesystem::file_size(kelhost::pathOf(file), unknown);
        const bool isKnown = file != "-" && !unknown;
        if (isKnown) total_ += size;
        isTotalKnown_ = isTotalKnown_ && isKnown;
    }
    if (!isWatched()) return;
    const UninterruptedWork inherited;  // the thread leaves interruptions to the one that minds the files
    painter_ = std::jthread([this](const std::stop_token& stop) { paint(stop); });
}

Progress::~Progress() = default;

void Progress::setPhase(const std::string& phase) {
    const std::lock_guard lock(mutex_);
    phase_ = phase;
}

// Called with the mutex locked.
std::string Progress::line(long seconds) {
    const std::string name = oneLine(first_ == "-" ? tr("standard input") : first_, kNameInCharacters);
    const std::string text =
        count_ > 1       ? tr("%1 of %2 documents", std::to_string(finished_.load()), std::to_string(count_))
        : phase_.empty() ? tr("reading %1", name)
                         : phase_;
    // The figure comes first: a narrow terminal cuts the line off at its end.
    const bool isReading = count_ > 1 || phase_.empty();
    if (isReading && isTotalKnown_ && total_ > 0) {
        const std::uint64_t percent = std::min<std::uint64_t>(done_ * 100 / total_, 100);
        return tr("%1 %", std::to_string(percent)) + "  " + text;
    }
    return tr("%1 s", std::to_string(seconds)) + "  " + text;
}

void Progress::paint(const std::stop_token& stop) {
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(mutex_);
    for (auto pause = kBeforeFirstLine; !wake_.wait_for(lock, stop, pause, [] { return false; });
         pause = kBetweenLines) {
        if (stop.stop_requested()) break;
        const auto seconds =
            std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start);
        showStatus(inTerminalEncoding(line(static_cast<long>(seconds.count()))));
    }
    showStatus({});
}

}  // namespace kelxml
