// Processes that run out of memory: each ends with its status, its log and its report, however little it
// could still allocate.
#include "KelBasicTypes/outofmemory.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <barrier>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "KelBasicTypes/buffers.h"
#include "KelBasicTypes/directories.h"
#include "KelBasicTypes/message.h"
#include "KelBasicTypes/oxarealloc.h"
#include "childprocess.h"
#include "failingheap.h"
#include "failingnew.h"
#include "fakeservices.h"
#include "memoryservices.h"
#include "tempdirectory.h"

using kel::test::ChildProcess;
using kel::test::contentsOf;
using kel::test::FailingHeap;
using kel::test::isNewFailing;
using kel::test::TempDirectory;

namespace {

constexpr int kOutOfMemory = 255;
constexpr int kBodyReturned = ChildProcess::kBodyReturned;

const std::string kMessage =
    "While running this function, you have run out of memory.\n"
    "The application will close. After restarting, please read\n"
    "the online help about \"Memory Optimization\".\n";
const std::string kBox = "Out of Memory\n" + kMessage;

// Where a child leaves what it says.
class Scene final {
public:
    Scene() {
        std::filesystem::create_directory(logs());
        std::filesystem::create_directory(temporary());
    }
    [[nodiscard]] std::string logs() const { return directory_.file("logs"); }
    [[nodiscard]] std::string temporary() const { return directory_.file("temp"); }

    // Exit status of a child that has the scene as its current directory and no pool yet.
    int run(const std::function<void()>& body) {
        std::filesystem::remove(directory_.file("memory.log"));
        std::filesystem::remove(logs() + "/memory.log");
        ChildProcess child([&] {
            const int words = open(directory_.file("words").c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
            if (words < 0 || dup2(words, STDERR_FILENO) < 0 || chdir(directory_.path().c_str()) != 0)
                _exit(1);
            kel::detail::resetBufferPool();
            body();
        });
        return child.waitForStatus();
    }

    [[nodiscard]] std::string words() const { return contentsOf(directory_.file("words")); }
    [[nodiscard]] std::string log() const {
        return contentsOf(logs() + "/memory.log") + contentsOf(directory_.file("memory.log"));
    }
    [[nodiscard]] bool hasSpillFiles() const { return !std::filesystem::is_empty(temporary()); }

private:
    TempDirectory directory_;
};

// A host with settings for the scene, and the services that a test wants.
class Host final {
public:
    explicit Host(const Scene& scene) {
        settings->texts["Directories/Logs Directory"] = scene.logs();
        settings->texts["Directories/Temp Directory"] = scene.temporary();
        host->offer<IDataStore>(*settings);
    }
    void useErrorService(bool isRegistered) {
        settings->texts["Memory/UseErrorService"] = "true";
        if (isRegistered) host->offer<IKelErrorService>(*errors);
    }

    FreshHost host;
    IPtr<FakeSettings> settings{new FakeSettings};
    IPtr<FakeErrorService> errors{new FakeErrorService};
    IPtr<FakeRenderer> renderer{new FakeRenderer};
};

class ThrowingStore final : public kel::Implements<ThrowingStore, IDataStore> {
public:
    static constexpr const char* kClassName = "ThrowingStore";
    bool readBool(const char*, bool) override { throw std::runtime_error("no settings"); }
    double readDouble(const char*, double) override { throw std::runtime_error("no settings"); }
    void readText(const char*, KelString&) override { throw 7; }
    void addReceiver(IKelDataReceiver*, const char*) override {}
};

void expectLog(const std::string& log) {
    static const std::string form(
        "attempted:         *[0-9]+b\n\n"
        "system free:       *[0-9]+k\nsystem total:      *[0-9]+k\n"
        "swap free:         *[0-9]+k\nswap total:        *[0-9]+k\n\n"
        "kelmm not available\n\n");
    EXPECT_THAT(log, testing::MatchesRegex(form));
}

// Strings, tables and blocks of every sort: small and large, growing, kept and given back.
void useMemory() {
    std::array<KelString, 30> many;
    for (KelString& text : many) text.assign(u"more of one size than a bucket has room for at first");
    KelString message;
    kel::translate(message, "Error while reading %1  : Line %2, column %3 : %4", many[0], KelString(12),
                   KelString(3), many[1]);
    const KelString number(1.5e300, {false, false, "-40.8"});  // longer than what numbers have in place
    (void)message.narrow();
    (void)message.compare(number);
    KelString path;
    kel::makeTempFileName(path);
    for (KelString& text : many) text.clear();
    KelString large;
    large.reserve(40'000);
    KelString larger;
    larger.reserve(200'000);
    void* table = nullptr;
    std::uint64_t count = 0;
    for (int i = 0; i < 6; ++i) count = kel::oxaRealloc(table, 8, count, count + 1, 2 * count + 7);
    kel::oxaFree(table);
}

enum class Failing { Heap, HeapAndNew };

// Runs useMemory with an allocator that fails from the n-th request on. Returns the child's
// status.
int runFailingFrom(Scene& scene, int n, Failing failing, const std::function<void(Host&)>& prepare) {
    return scene.run([&] {
        std::optional<Host> host;
        if (prepare != nullptr) prepare(host.emplace(scene));
        (void)kel::currentTranslator();  // made by `new`, which reports a failure itself
        int requests = 0;
        const FailingHeap heap([&](const FailingHeap::Request&) {
            const bool isOver = ++requests >= n;
            if (isOver && failing == Failing::HeapAndNew) isNewFailing = true;
            return isOver;
        });
        useMemory();
        isNewFailing = false;
        _exit(kBodyReturned);
    });
}

void sweep(Failing failing, const std::string& words, const std::function<void(Host&)>& prepare) {
    Scene scene;
    int n = 1;
    for (; n < 500; ++n) {
        SCOPED_TRACE(testing::Message() << "everything failing from request " << n << " on");
        const int status = runFailingFrom(scene, n, failing, prepare);
        if (status == kBodyReturned) break;
        ASSERT_EQ(status, kOutOfMemory);
        ASSERT_EQ(scene.words(), words);
        expectLog(scene.log());
        ASSERT_FALSE(scene.hasSpillFiles());
    }
    EXPECT_GT(n, 15) << "useMemory does not allocate as it should";
    EXPECT_LT(n, 500);
}

}  // namespace

TEST(OutOfMemory, EndsWithLogAndBoxWhereverMemoryRunsOut) {
    sweep(Failing::Heap, kBox, nullptr);
}

TEST(OutOfMemory, EndsWithLogAndBoxWhenTheLanguageCannotAllocateEither) {
    sweep(Failing::HeapAndNew, kBox, nullptr);
    // A host whose every service costs memory is as good as none.
    sweep(Failing::HeapAndNew, kBox, [](Host& host) { host.host->offer<IGfxRenderer>(*host.renderer); });
}

TEST(OutOfMemory, IsNotBroughtAboutByTheLanguagesOwnAllocation) {
    Scene scene;
    const int status = scene.run([] {
        (void)kel::currentTranslator();
        isNewFailing = true;
        useMemory();
        isNewFailing = false;
    });
    EXPECT_EQ(status, kBodyReturned) << "strings and the pool need nothing of it";
}

TEST(OutOfMemory, EndsThroughTheHostsServicesWhereverMemoryRunsOut) {
    sweep(Failing::Heap, "[before]\n" + kBox + "[after]\n",
          [](Host& host) { host.host->offer<IGfxRenderer>(*host.renderer); });
    sweep(Failing::Heap, "[before]\n[error 1 realloc] " + kMessage, [](Host& host) {
        host.host->offer<IGfxRenderer>(*host.renderer);
        host.useErrorService(true);
    });
}

TEST(OutOfMemory, SaysNothingWhenTheErrorServiceIsWantedAndMissing) {
    sweep(Failing::Heap, "", [](Host& host) {
        host.host->offer<IGfxRenderer>(*host.renderer);
        host.useErrorService(false);
    });
}

TEST(OutOfMemory, EndsWhenTheSpillFileFails) {
    enum class Fault { NoFolder, FullDisk, Truncated, NoHeap };
    for (const Fault fault : {Fault::NoFolder, Fault::FullDisk, Fault::Truncated, Fault::NoHeap}) {
        SCOPED_TRACE(static_cast<int>(fault));
        Scene scene;
        const int status = scene.run([&] {
            Host host(scene);
            if (fault == Fault::NoFolder)
                host.settings->texts["Directories/Temp Directory"] = "/nowhere/at/all";
            void* block = nullptr;
            kel::oxaMalloc(block, 1, 100'000);
            const FailingHeap heap([&](const FailingHeap::Request& request) {
                if (request.isRealloc || fault == Fault::NoHeap) return request.sizeInBytes >= 100'000;
                if (request.sizeInBytes != 150'000 || fault != Fault::Truncated) return false;
                // The old contents lie in the file that has no name any more: take them away.
                for (int file = 3; file < 100; ++file) {
                    if (lseek(file, 0, SEEK_END) == 100'000 && ftruncate(file, 10) != 0) _exit(2);
                }
                return false;
            });
            if (fault == Fault::FullDisk) {
                std::signal(SIGXFSZ, SIG_IGN);
                const rlimit limit{50'000, 50'000};
                setrlimit(RLIMIT_FSIZE, &limit);
            }
            kel::oxaRealloc(block, 1, 100'000, 150'000, 300'000);
        });
        EXPECT_EQ(status, kOutOfMemory);
        EXPECT_EQ(scene.words(), kBox);
        EXPECT_EQ(scene.log().rfind("attempted:         150000b\n", 0), 0U) << scene.log();
        EXPECT_FALSE(scene.hasSpillFiles());
    }
}

TEST(OutOfMemory, ASizeThatCannotBeCountedIsRejected) {
    Scene scene;
    const int status = scene.run([] {
        // A product that wrapped around would be small enough.
        const FailingHeap heap(
            [](const FailingHeap::Request& request) { return request.sizeInBytes >> 40 != 0; });
        void* block = nullptr;
        kel::oxaMalloc(block, 0x1'0000'0001, 0x1'0000'0001);
    });
    EXPECT_EQ(status, kOutOfMemory);
    EXPECT_EQ(scene.words(), kBox);
}

TEST(OutOfMemory, EndsWhateverTheHostsServicesThrow) {
    Scene scene;
    const int status = scene.run([&] {
        FreshHost host;
        const IPtr<ThrowingStore> store(new ThrowingStore);
        host->offer<IDataStore>(*store);
        kel::endOutOfMemory(1, kel::MemoryError::HeapExhausted);
    });
    EXPECT_EQ(status, kOutOfMemory);
    EXPECT_EQ(scene.words(), kBox) << "a setting that cannot be read is not set";
    expectLog(scene.log());
}

TEST(OutOfMemory, ReportsOnceWhenThreadsRunOutTogether) {
    Scene scene;
    const int status = scene.run([] {
        std::array<std::thread, 4> threads;
        std::barrier together(static_cast<std::ptrdiff_t>(threads.size()));
        const FailingHeap heap([&](const FailingHeap::Request& request) {
            const bool isFailing = request.sizeInBytes > 1'000'000;
            if (isFailing) together.arrive_and_wait();
            return isFailing;
        });
        const auto runOut = [] {
            void* block = nullptr;
            kel::oxaMalloc(block, 2'000'000, 1);
        };
        for (std::thread& thread : threads) thread = std::thread(runOut);
        for (std::thread& thread : threads) thread.join();
    });
    EXPECT_EQ(status, kOutOfMemory);
    EXPECT_EQ(scene.words(), kBox);
}

TEST(OutOfMemory, NeedsNoLockThatAnotherThreadHolds) {
    Scene scene;
    const int status = scene.run([&] {
        Host host(scene);
        host.useErrorService(true);
        (void)kel::currentTranslator();
        std::atomic<bool> isHeld{false};
        const FailingHeap heap([&](const FailingHeap::Request& request) {
            if (request.sizeInBytes > 1'000'000) return true;
            if (request.sizeInBytes < 100'000) return false;
            isHeld = true;
            for (;;) pause();  // inside the pool
        });
        std::thread stuck([] { KelString(u"").reserve(60'000); });
        while (!isHeld) std::this_thread::yield();
        void* block = nullptr;
        kel::oxaMalloc(block, 2'000'000, 1);
    });
    EXPECT_EQ(status, kOutOfMemory);
    EXPECT_EQ(scene.words(), "[error 1 realloc] " + kMessage);
    expectLog(scene.log());
}

TEST(OutOfMemory, HandlerKnowsItsCodes) {
    Scene scene;
    const auto wordsFor = [&](std::int32_t code) {
        EXPECT_EQ(scene.run([&] {
            if (kel::outOfMemoryHandler(code)) _exit(1);
        }),
                  kBodyReturned);
        return scene.words();
    };
    for (const std::int32_t code : {-5, -4, -1}) EXPECT_EQ(wordsFor(code), kBox) << code;
    for (const std::int32_t code : {-6, 0, 1}) EXPECT_EQ(wordsFor(code), "") << code;
}
