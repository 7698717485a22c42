// Watches the setting "Memory/MemLimit": once the process has more memory in use than that, the reclaimers of
// the memory manager are asked, and the error service gets one report, a warning. No setting, 0 or less: no
// limit.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>

#include "KelBasicTypes/idatastore.h"
#include "KelBasicTypes/memlimitlistener.h"
#include "KelBasicTypes/oxadatareceiver.h"
#include "framework/object/iptr.h"
#include "host/memory.h"

namespace kelhost {

// Threads: any. It lives until the process ends, for a thread of its own may look at it until then.
class MemoryLimit final {
public:
    // Memory in use by the process, in bytes; 0 if the system does not report it.
    using Usage = std::function<std::uint64_t()>;
    // In bytes. What it throws reaches the caller of `check`, or, on the watching thread, goes nowhere.
    using Report = std::function<void(std::uint64_t inUse, std::int64_t limit)>;

    // The store and the manager outlive it.
    MemoryLimit(IDataStore& settings, MemoryManager& manager, Usage usage, Report report);
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
    ~MemoryLimit() = delete;  // see above

    // Looks now; true, too, from inside a report or reclaimer. False: more than the limit was in use; then
    // every reclaimer was asked, and the first time a report was made. There is another report only after the
    // use was at most nine tenths of the limit.
    bool check();

    // From now on, a thread looks every second while there is a limit. There is no thread without one.
    void watch();

private:
    static constexpr std::uint32_t kPeriodMs = 1000;

    void startThread();
    void run();

    IPtr<MemLimitListener> limit_;
    MemoryManager& manager_;
    Usage usage_;
    Report report_;
    std::recursive_mutex checking_;        // one look at a time
    bool isChecking_ = false;              // the thread that holds it is
    bool isReported_ = false;              // since the use was last below
    std::atomic<bool> isWatched_ = false;  // whether the thread runs
    OxaDataReceiver changes_;
};

}  // namespace kelhost
