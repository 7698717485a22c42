#include "KelBasicTypes/stringsupport.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <new>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/ikelstrsupport.h"
#include "framework/object/hostlink.h"

namespace kel {

namespace {

constinit std::atomic<IKelStrSupport*> support{nullptr};  // holds a reference
constinit std::atomic<bool> isLookedUp{false};

// Recursive, for the host may use strings of ours while it answers. Never destroyed; in place, for the first
// string to ask may be one of a process that has run out of memory.
std::recursive_mutex& lookupLock() {
    alignas(std::recursive_mutex) static std::byte storage[sizeof(std::recursive_mutex)];
    static auto& lock = *new (storage) std::recursive_mutex;
    return lock;
}

void lookUpOnce() {
    const std::scoped_lock guard(lookupLock());
    static constinit bool isRunning = false;
    if (isRunning || isLookedUp.load(std::memory_order_relaxed)) return;
    struct Running {
        Running() { isRunning = true; }
        ~Running() { isRunning = false; }
    } const running;
    void* service = nullptr;
    (void)lookupService(IKelStrSupport::interfaceName(), &service);  // absent: the fallbacks serve
    auto* const found = static_cast<IKelStrSupport*>(service);
    if (found != nullptr) found->addRef();
    support.store(found, std::memory_order_relaxed);
    isLookedUp.store(true, std::memory_order_release);
}

}  // namespace

IKelStrSupport* stringSupport() {
    if (!isLookedUp.load(std::memory_order_acquire)) lookUpOnce();
    return support.load(std::memory_order_relaxed);
}

namespace detail {

void resetStringSupport() {
    isLookedUp = false;
    if (IKelStrSupport* const held = support.exchange(nullptr)) held->release();
}

}  // namespace detail
}  // namespace kel
