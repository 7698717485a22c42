// The phase is shown by a thread of its own: a long parse gives no sign of life by itself.
#include "tools/kelxml/progress.h"

#include <cstdio>
#include <utility>

#include "tools/kelxml/message.h"
#include "tools/kelxml/output.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/platform/interruption.h"

namespace kelxml {

namespace {

using namespace std::chrono_literals;

// What is done sooner is not worth a line that flickers.
constexpr auto kBeforeFirstLine = 400ms;
constexpr auto kBetweenLines = 200ms;

}  // namespace

Progress::Progress(std::string phase) : phase_(std::move(phase)) {
    if (!isTerminal(stderr) || isDumbTerminal()) return;
    const UninterruptedWork inherited;  // the thread leaves interruptions to the one that minds the files
    painter_ = std::jthread([this](const std::stop_token& stop) { paint(stop); });
}

void Progress::paint(const std::stop_token& stop) {
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(mutex_);
    bool isShown = false;
    for (auto pause = kBeforeFirstLine; !wake_.wait_for(lock, stop, pause, [] { return false; });
         pause = kBetweenLines) {
        if (stop.stop_requested()) break;
        const auto seconds =
            std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start);
        std::fprintf(stderr, "\r%s... %s\x1b[K", phase_.c_str(),
                     tr("%1 s", std::to_string(seconds.count())).c_str());
        isShown = true;
    }
    if (isShown) std::fputs("\r\x1b[K", stderr);
}

IPtr<IKelDOMXmlV2> loadWithProgress(const Session& session, const InputFile& input) {
    const Progress progress(tr("reading %1", input.name()));
    return input.load(session);
}

}  // namespace kelxml
