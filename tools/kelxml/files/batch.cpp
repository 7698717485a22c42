// Files are given out in their order. The first that is not finished has the turn: it writes straight. What
// the others write is kept, up to a limit beyond which they wait for their turn; so nothing waits for a file
// that comes later, and memory is bounded.
#include "tools/kelxml/files/batch.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "tools/kelxml/files/source.h"
#include "tools/kelxml/platform/interruption.h"
#include "tools/kelxml/report/console.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

constexpr std::size_t kKeptInBytes = std::size_t{4} << 20;     // of one file
constexpr std::size_t kParkedInBytes = std::size_t{64} << 20;  // of all files that wait for their turn
// A thread costs more than it brings for less.
constexpr std::uint64_t kWorthAThreadInBytes = std::uint64_t{1} << 20;

std::atomic<unsigned> chosenJobs{0};

// What a file wrote, in order.
struct Piece {
    enum class Stream { Output, Errors };
    Stream stream;
    std::string bytes;
};
using Pieces = std::vector<Piece>;

void writePieces(Pieces& pieces) {
    for (const Piece& piece : pieces) {
        if (piece.stream == Piece::Stream::Output)
            writeOutput(piece.bytes);
        else
            writeErrors(piece.bytes);
    }
    pieces.clear();
}

std::size_t sizeOf(const Pieces& pieces) {
    std::size_t size = 0;
    for (const Piece& piece : pieces) size += piece.bytes.size();
    return size;
}

}  // namespace

// Whose turn it is, and what the files that are finished before their turn have to say.
class Turns {
public:
    [[nodiscard]] bool isTurnOf(std::size_t index) {
        const std::lock_guard lock(mutex_);
        return index == turn_;
    }

    void awaitTurnOf(std::size_t index) {
        std::unique_lock lock(mutex_);
        moved_.wait(lock, [&] { return index == turn_ || isOver_; });
        if (index != turn_) throw ReaderGone();
    }

    // The file is finished.
    void finish(std::size_t index, Pieces pieces) {
        std::unique_lock lock(mutex_);
        moved_.wait(lock, [&] { return index == turn_ || isOver_ || parkedInBytes_ < kParkedInBytes; });
        parkedInBytes_ += sizeOf(pieces);
        parked_.emplace(index, std::move(pieces));
        for (auto next = parked_.find(turn_); next != parked_.end(); next = parked_.find(turn_)) {
            Pieces ready = std::move(next->second);
            parkedInBytes_ -= sizeOf(ready);
            parked_.erase(next);
            lock.unlock();  // the turn is still its own: nothing else writes
            if (!isOver_) writePieces(ready);
            lock.lock();
            ++turn_;
        }
        moved_.notify_all();
    }

    void giveUp() {
        const std::lock_guard lock(mutex_);
        isOver_ = true;
        moved_.notify_all();
    }
    [[nodiscard]] bool isOver() const noexcept { return isOver_; }

private:
    std::mutex mutex_;
    std::condition_variable moved_;
    std::size_t turn_ = 0;
    std::map<std::size_t, Pieces> parked_;
    std::size_t parkedInBytes_ = 0;
    std::atomic<bool> isOver_{false};
};

// Both streams of one file.
class Channel final : public ByteTaker {
public:
    Channel(Turns& turns, std::size_t index) : turns_(turns), index_(index) {}

    void take(std::string_view bytes) override { put(Piece::Stream::Output, bytes); }
    void report(std::string_view lines) { put(Piece::Stream::Errors, lines); }
    void finish() { turns_.finish(index_, std::move(kept_)); }

private:
    void put(Piece::Stream stream, std::string_view bytes) {
        if (kept_.empty() || kept_.back().stream != stream) kept_.push_back({stream, {}});
        kept_.back().bytes += bytes;
        keptInBytes_ += bytes.size();
        if (keptInBytes_ > kKeptInBytes) turns_.awaitTurnOf(index_);
        if (!turns_.isTurnOf(index_)) return;
        keptInBytes_ = 0;
        writePieces(kept_);
    }

    Turns& turns_;
    std::size_t index_;
    Pieces kept_;
    std::size_t keptInBytes_ = 0;
};

Task::Task(std::string file, bool isOneOfSeveral, Channel& channel, Progress& progress)
    : file_(std::move(file)),
      isOneOfSeveral_(isOneOfSeveral),
      channel_(channel),
      output_(&channel),
      progress_(progress) {}

void Task::report(const Diagnostic& diagnostic) {
    isRejected_ = isRejected_ || diagnostic.severity == Severity::Error;
    if (!isSuppressed(diagnostic.severity)) channel_.report(formatted(diagnostic));
}

namespace {

class Batch {
public:
    Batch(const std::vector<std::string>& files, const std::function<Work()>& prepare)
        : files_(files), prepare_(prepare), progress_(files) {}

    void run() {
        const Work first = prepare_();  // what cannot be prepared is reported once
        std::vector<std::jthread> others;
        {
            const UninterruptedWork inherited;  // interruptions are for the thread that minds the files
            for (unsigned i = 1; i < threadCount(); ++i) others.emplace_back([this] { workBeside(); });
        }
        workAt(first);
        others.clear();  // joined
        if (failure_) std::rethrow_exception(failure_);
        report();
    }

private:
    [[nodiscard]] unsigned threadCount() const {
        unsigned count = chosenJobs;
        if (count == 0) {
            const auto worth = static_cast<unsigned>(progress_.total() / kWorthAThreadInBytes + 1);
            count = std::min(std::max(std::thread::hardware_concurrency(), 1U), worth);
        }
        return static_cast<unsigned>(std::min<std::size_t>(count, files_.size()));
    }

    void workBeside() {
        try {
            workAt(prepare_());
        } catch (...) {
            fail();
        }
    }

    void workAt(const Work& work) {
        try {
            while (!turns_.isOver()) {
                const std::size_t index = next_++;
                if (index >= files_.size()) return;
                workOn(index, work);
            }
        } catch (...) {
            fail();
        }
    }

    void workOn(std::size_t index, const Work& work) {
        Channel channel(turns_, index);
        Task task(files_[index], files_.size() > 1, channel, progress_);
        ExitStatus status = kDone;
        try {
            work(task);
            task.output().finish();
        } catch (const OutputException&) {
            throw;
        } catch (const Reported& reported) {
            status = reported.status();
        } catch (...) {
            const Exception exception = currentException();
            Diagnostic diagnostic = exception.diagnostic();
            if (diagnostic.file.empty() && exception.status() != kWrongUsage) diagnostic.file = task.file();
            task.report(diagnostic);
            status = exception.status();
        }
        if (task.isRejected() || status != kDone) note(std::max(status, kRejected));
        channel.finish();
        progress_.finishFile();
    }

    void note(ExitStatus status) {
        const std::lock_guard lock(mutex_);
        worst_ = std::max(worst_, status);
        ++rejected_;
    }

    void fail() {
        {
            const std::lock_guard lock(mutex_);
            if (!failure_) failure_ = std::current_exception();
        }
        turns_.giveUp();
    }

    void report() const {
        if (rejected_ == 0) return;
        if (files_.size() > 1) {
            kelxml::report({Severity::Note,
                            {},
                            trCount("%1 of %2 documents was rejected", "%1 of %2 documents were rejected",
                                    rejected_, std::to_string(files_.size()))});
        }
        throw Reported(worst_);
    }

    const std::vector<std::string>& files_;
    const std::function<Work()>& prepare_;
    Progress progress_;
    Turns turns_;
    std::atomic<std::size_t> next_{0};
    std::mutex mutex_;  // of what follows
    std::exception_ptr failure_;
    ExitStatus worst_ = kDone;
    std::size_t rejected_ = 0;
};

}  // namespace

void chooseJobs(unsigned jobs) noexcept {
    chosenJobs = jobs;
}

void forEachFile(const std::vector<std::string>& files, const std::function<Work()>& prepare) {
    if (std::ranges::count(files, "-") > 1)
        throw Exception(kWrongUsage, tr("standard input can be read only once"));
    Batch(files, prepare).run();
}

}  // namespace kelxml
