// The fault sweep: each public operation is run again and again, and in the n-th run its n-th request to the
// system fails (memory; opening, reading, writing and asking for files; mappings). Afterwards
//
// - the program still runs, or has ended as the library documents for its strings' memory,
// - nothing but _com_error came out,
// - an operation that reported success has the result that it has without a fault,
// - the same operation then succeeds on objects made anew, and no memory is lost.
//
// A child process does the runs and the parent starts another one after it, for a run may end the process.
// Progress and findings stand in memory that both share.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <execinfo.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "msxml_parser/comerror.h"
#include "tests/faults/injector.h"
#include "tests/faults/operations.h"

namespace {

using faults::Kind;

constexpr int kOutOfMemoryStatus = 255;  // the documented end of a process
constexpr int kLibraryCrash = 70;        // in libxml2 or libxslt
constexpr int kOwnCrash = 71;

struct KindRow {
    Kind kind;
    const char* name;
};
constexpr KindRow kKinds[] = {{Kind::Allocation, "allocation"}, {Kind::Open, "open"}, {Kind::Read, "read"},
                              {Kind::Write, "write"},           {Kind::Stat, "stat"}, {Kind::Map, "mapping"}};

struct Tally {
    unsigned faults;
    unsigned failures;       // reported by the operation
    unsigned successes;      // with the right result
    unsigned ends;           // of the process, as documented
    unsigned libraryFaults;  // libxml2 or libxslt crashed, or lost memory of theirs
    unsigned violations;
};

struct Shared {
    unsigned number;  // of the request that fails now
    bool isDone;
    Tally tally;
    char where[256];  // a crash
};
Shared* shared = nullptr;

// A crash is that of the innermost function that is not the C library's.
void crashed(int) {
    void* frames[64];
    const int count = backtrace(frames, 64);
    for (int i = 1; i < count; ++i) {
        Dl_info info{};
        if (dladdr(frames[i], &info) == 0 || info.dli_fname == nullptr) continue;
        const std::string_view file = info.dli_fname;
        if (file.find("libc.so") != std::string_view::npos) continue;
        std::snprintf(shared->where, sizeof shared->where, "%s in %s",
                      info.dli_sname != nullptr ? info.dli_sname : "?", info.dli_fname);
        _exit(faults::isLibrarys(frames[i]) ? kLibraryCrash : kOwnCrash);
    }
    _exit(kOwnCrash);
}

class Sweeper {
public:
    Sweeper(const faults::Operation& operation, const KindRow& kind, unsigned step, bool isVerbose)
        : operation_(operation), kind_(kind), step_(step), isVerbose_(isVerbose) {}

    // In the child: all faults from shared->number on.
    void run() {
        void* frame = nullptr;
        (void)backtrace(&frame, 1);  // loads what it needs while there is memory
        for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE}) (void)std::signal(signal, crashed);
        for (int i = 0; i < 3; ++i) reference_ = clean();  // caches are filled, what is made once is made
        if (!reference_) complain("the operation fails without a fault");
        while (reference_ && runWithFault(shared->number)) {
            ++shared->tally.faults;
            shared->number += step_;
        }
        shared->isDone = true;
    }

    void complain(const std::string& what) const {
        std::printf("%s, %s %u: %s\n", operation_.name.c_str(), kind_.name, shared->number, what.c_str());
        std::fflush(stdout);
        ++shared->tally.violations;
    }

private:
    std::optional<std::string> clean() const {
        const std::unique_ptr<faults::Run> run = operation_.prepare();
        try {
            if (run->call()) return run->result();
            std::fprintf(stderr, "%s\n", run->result().c_str());
        } catch (const _com_error&) {
            return std::nullopt;
        }
        return std::nullopt;
    }

    // False: there is no such request.
    bool runWithFault(unsigned number) {
        const std::int64_t before = faults::liveBlocks();
        if (!meet(number, true)) return false;
        std::int64_t after = faults::liveBlocks();
        // What grows only once is a cache; what grows each time is lost.
        bool isLost = after > before && operation_.exception != faults::Exception::KeepsOnFailure;
        for (int i = 0; i < 3 && isLost; ++i) {
            const std::int64_t last = after;
            (void)meet(number, false);
            after = faults::liveBlocks();
            isLost = after > last;
        }
        if (isLost) findLoss(number);
        if (clean() != reference_) complain("afterwards the operation does not work any more");
        return true;
    }

    void findLoss(unsigned number) {
        const std::int64_t before = faults::liveBlocks();
        faults::trackBlocks();
        (void)meet(number, false);
        const std::int64_t theirs = faults::trackedLibraryBlocks();
        const std::int64_t lost = faults::liveBlocks() - before;
        if (lost > theirs) {
            complain(std::to_string(lost) + " blocks of memory are lost, " + std::to_string(theirs) +
                     " of them in libraries");
        } else {
            ++shared->tally.libraryFaults;
            if (isVerbose_) std::printf("  request %u: %ld blocks lost\n", number, static_cast<long>(lost));
        }
    }

    [[nodiscard]] bool isRight(const std::string& result) const {
        if (operation_.exception == faults::Exception::SucceedsAlways) return reference_->starts_with(result);
        return result == reference_;
    }

    bool meet(unsigned number, bool isJudged) {
        const std::unique_ptr<faults::Run> run = operation_.prepare();
        bool isSuccess = false;
        const char* stranger = nullptr;
        faults::arm(kind_.kind, number);
        try {
            isSuccess = run->call();
        } catch (const _com_error&) {
            isSuccess = false;
        } catch (const std::bad_alloc&) {
            stranger = "std::bad_alloc came out";
        } catch (...) {
            stranger = "an exception that is not documented came out";
        }
        const bool hasFailed = faults::disarm();
        if (!isJudged) return hasFailed;
        if (stranger != nullptr) complain(stranger);
        if (isSuccess && !isRight(run->result())) complain("success is reported, the result is another");
        if (hasFailed) ++(isSuccess ? shared->tally.successes : shared->tally.failures);
        return hasFailed;
    }

    const faults::Operation& operation_;
    const KindRow& kind_;
    unsigned step_;
    bool isVerbose_;
    std::optional<std::string> reference_;
};

// In the parent: children until all faults are through.
void sweep(const faults::Operation& operation, const KindRow& kind, unsigned step, bool isVerbose) {
    *shared = {};
    shared->number = 1;
    while (!shared->isDone) {
        Sweeper sweeper(operation, kind, step, isVerbose);
        std::fflush(stdout);  // or the child would write it once more
        const pid_t child = fork();
        if (child == 0) {
            sweeper.run();
            std::fflush(nullptr);
            _exit(0);
        }
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child) std::abort();
        if (shared->isDone) break;
        ++shared->tally.faults;
        const int exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        if (exit == kOutOfMemoryStatus) {
            ++shared->tally.ends;
        } else if (exit == kLibraryCrash) {
            ++shared->tally.libraryFaults;
            if (isVerbose) std::printf("  request %u: crash, %s\n", shared->number, shared->where);
        } else {
            sweeper.complain(exit == kOwnCrash ? std::string("crash: ") + shared->where
                                               : "the process ended with status " + std::to_string(status));
        }
        shared->number += step;
    }
}

int usage() {
    std::fputs("usage: faults [--every N] [--verbose] [START OF AN OPERATION'S NAME]\n", stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    unsigned step = 1;
    bool isVerbose = false;
    std::string_view wanted;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--every" && i + 1 < argc) {
            step = static_cast<unsigned>(std::max(std::atoi(argv[++i]), 1));
        } else if (std::string_view(argv[i]) == "--verbose") {
            isVerbose = true;
        } else if (*argv[i] == '-') {
            return usage();
        } else {
            wanted = argv[i];
        }
    }
    shared = static_cast<Shared*>(
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (shared == MAP_FAILED) return 1;
    std::string folder = std::filesystem::temp_directory_path() / "kel-faults-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr || chdir(folder.c_str()) != 0) return 1;
    unsigned violations = 0;
    unsigned faultCount = 0;
    unsigned libraryFaults = 0;
    std::printf("%-36s %-10s %7s %8s %9s %6s %8s %6s\n", "operation", "fault", "faults", "reported",
                "succeeded", "ended", "library", "wrong");
    for (const faults::Operation& operation : faults::operationsIn(folder)) {
        if (!operation.name.starts_with(wanted)) continue;
        for (const KindRow& kind : kKinds) {
            sweep(operation, kind, step, isVerbose);
            const Tally& tally = shared->tally;
            violations += tally.violations;
            faultCount += tally.faults;
            libraryFaults += tally.libraryFaults;
            if (tally.faults == 0 && tally.violations == 0) continue;
            std::printf("%-36s %-10s %7u %8u %9u %6u %8u %6u\n", operation.name.c_str(), kind.name,
                        tally.faults, tally.failures, tally.successes, tally.ends, tally.libraryFaults,
                        tally.violations);
            std::fflush(stdout);
        }
    }
    std::error_code left;
    std::filesystem::remove_all(folder, left);
    std::printf("%u faults: %u wrong, %u times libxml2 or libxslt itself went wrong\n", faultCount,
                violations, libraryFaults);
    return violations == 0 && faultCount != 0 ? 0 : 1;
}
