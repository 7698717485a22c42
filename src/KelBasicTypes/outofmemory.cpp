// What happens when the heap is exhausted: the host's memory manager, growth by way of a temporary file, the
// report to the user and the end of the process.
#include "KelBasicTypes/outofmemory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <iterator>
#include <optional>

#include "KelBasicTypes/detail/heap.h"
#include "KelBasicTypes/detail/memorylog.h"
#include "KelBasicTypes/detail/quietlookup.h"
#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/directories.h"
#include "KelBasicTypes/idatastore.h"
#include "KelBasicTypes/igfxrenderer.h"
#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/message.h"
#include "KelBasicTypes/platform/messagebox.h"
#include "KelBasicTypes/platform/process.h"
#include "KelBasicTypes/platform/rawfile.h"

namespace kel {
namespace {

constexpr int kExitStatus = -1;
constexpr std::int32_t kLowestCode = -5;
constexpr std::int32_t kHighestCode = -1;
constexpr std::uint32_t kLongestWaitMs = 30'000;

constexpr const auto& kMessageKey = messageKey(
    "While running this function, you have run out of memory.\n"
    "The application will close. After restarting, please read\n"
    "the online help about \"Memory Optimization\".");
constexpr auto kMessage = [] {
    std::array<char16_t, sizeof kMessageKey> wide{};
    std::copy(std::begin(kMessageKey), std::end(kMessageKey), wide.begin());
    return wide;
}();

constinit std::atomic<std::uintptr_t> endingThread{0};

constinit std::atomic<KelMM::IKelMManager*> manager{
    nullptr};  // holds one reference, kept until the process ends

bool usesErrorService() noexcept {
    constexpr bool kDefault = false;
    const IPtr<IDataStore> settings = detail::findService<IDataStore>();
    try {
        return settings ? settings->readBool("Memory/UseErrorService", kDefault) : kDefault;
    } catch (...) {
        return kDefault;  // a setting that cannot be read is not set
    }
}

// The message itself when there is no memory, or no translator, to translate it.
KelString translatedMessage() noexcept {
    try {
        KelString message;
        translate(message, kMessageKey);
        if (!message.isEmpty()) return message;
    } catch (...) {
        // whatever a translator of the host throws: the user gets the English text
    }
    return {kMessage.data(), 0};  // borrowed
}

void report() {
    IPtr<IKelErrorService> errorService;
    const bool isForService = usesErrorService();
    if (isForService) {
        errorService = detail::findService<IKelErrorService>();
        if (!errorService) return;
    }
    const KelString message = translatedMessage();
    const IPtr<IGfxRenderer> renderer = detail::findService<IGfxRenderer>();
    if (renderer) renderer->beforeReport();
    if (isForService) {
        errorService->report(message, IKelErrorService::kLevelError, "realloc");
        return;
    }
    platform::showMessageBox(message.view(), u"Out of Memory");
    if (renderer) renderer->afterMessageBox();
}

// The first one of a process goes on. One that comes back here while it reports has nothing left to report
// with; those that come from other threads let the first one finish, but not for ever: they may hold what it
// needs.
void becomeEndingThread() noexcept {
    const std::uintptr_t self = platform::currentThread();
    std::uintptr_t first = 0;
    if (endingThread.compare_exchange_strong(first, self)) return;
    if (first != self) platform::sleepFor(kLongestWaitMs);
    platform::endProcess(kExitStatus);
}

}  // namespace

KelMM::IKelMManager* memoryManager() noexcept {
    if (KelMM::IKelMManager* const known = manager.load(std::memory_order_acquire)) return known;
    const IPtr<KelMM::IKelMManager> found = detail::findService<KelMM::IKelMManager>();
    KelMM::IKelMManager* none = nullptr;
    // Several threads may have run out of memory at once: only one of them leaves its reference there.
    if (found && manager.compare_exchange_strong(none, found.get())) found->addRef();
    return manager.load(std::memory_order_acquire);
}

void writeMemorySnapshot(std::uint64_t attemptedBytes) noexcept {
    try {
        detail::writeMemoryLog(attemptedBytes, memoryManager());
    } catch (...) {
        // a service of the host failed: there is no log, as when the file cannot be opened
    }
}

bool outOfMemoryHandler(std::int32_t failureCode) noexcept {
    if (failureCode < kLowestCode || failureCode > kHighestCode) return false;
    try {
        report();
    } catch (...) {
        // a service of the host failed: the process ends without a word rather than not at all
    }
    return false;
}

void endOutOfMemory(std::uint64_t attemptedBytes, MemoryError failure) noexcept {
    becomeEndingThread();
    detail::openReserve();
    writeMemorySnapshot(attemptedBytes);
    (void)outOfMemoryHandler(static_cast<std::int32_t>(failure));  // always false
    platform::endProcess(kExitStatus);
}

namespace detail {

void resetMemoryManager() {
    if (KelMM::IKelMManager* const known = manager.exchange(nullptr)) known->release();
}

}  // namespace detail
}  // namespace kel

using kel::platform::RawFile;

namespace kel::detail {
namespace {

// Null when the file cannot be created; the name may fail as well, for services and strings take part in it.
void openSpillFile(std::optional<RawFile>& file) noexcept {
    try {
        KelString path;
        makeTempFileName(path);
        file.emplace(path.view(), RawFile::Creation::NewTemporary);
        if (!file->isOpen()) file.reset();
    } catch (...) {
        file.reset();
    }
}

[[noreturn]] void end(std::optional<RawFile>& file, std::size_t attempted, MemoryError failure) noexcept {
    file.reset();
    endOutOfMemory(attempted, failure);
}

[[noreturn]] void endExhausted(std::uint64_t attemptedBytes) noexcept {
    endOutOfMemory(attemptedBytes, MemoryError::HeapExhausted);
}

void moveThroughSpillFile(void*& block, std::size_t oldBytes, std::size_t newBytes) {
    std::optional<RawFile> file;
    openSpillFile(file);
    if (!file) end(file, newBytes, MemoryError::SpillNotCreated);
    if (!file->write(block, oldBytes)) end(file, newBytes, MemoryError::SpillNotWritten);

    heapRelease(block);
    block = heapAllocate(newBytes);
    if (block == nullptr) block = allocateWithManager(newBytes);
    if (block == nullptr) end(file, newBytes, MemoryError::HeapExhausted);

    if (!file->seekToStart() || !file->read(block, oldBytes)) {
        heapRelease(block);
        block = nullptr;
        end(file, newBytes, MemoryError::SpillNotRead);
    }
    std::memset(static_cast<std::byte*>(block) + oldBytes, 0, newBytes - oldBytes);
}

}  // namespace

constinit const AllocationHooks allocationHooks{memoryManager, moveThroughSpillFile, endExhausted};

}  // namespace kel::detail
