#include "KelBasicTypes/kelmutex.h"

#include <limits>

#include "KelBasicTypes/platform/mutex.h"

using kel::platform::LockResult;
using kel::platform::Mutex;

namespace {

// An abandoned mutex is given back at once: the caller hears "not acquired" and will not unlock it.
bool isAcquired(LockResult result, Mutex& mutex) noexcept {
    if (result == LockResult::Abandoned) mutex.unlock();
    return result == LockResult::Acquired;
}

}  // namespace

KelMutex::KelMutex() noexcept = default;

KelMutex::~KelMutex() = default;

bool KelMutex::create() noexcept {
    if (!isNull()) return false;
    mutex_ = Mutex::create();
    return !isNull();
}

bool KelMutex::create(const char* name) noexcept {
    if (!isNull()) return false;
    mutex_ = Mutex::createOrOpen(name);
    return !isNull();
}

bool KelMutex::open(const char* name) noexcept {
    if (!isNull()) return false;
    mutex_ = Mutex::open(name);
    return !isNull();
}

bool KelMutex::lock() noexcept {
    if (isNull()) return false;
    (void)mutex_->lock();  // an abandoned mutex is held like any other
    return true;
}

bool KelMutex::tryLock() noexcept {
    return !isNull() && isAcquired(mutex_->tryLock(), *mutex_);
}

bool KelMutex::timedLock(double seconds) noexcept {
    return !isNull() && isAcquired(mutex_->lockFor(timeoutMs(seconds)), *mutex_);
}

bool KelMutex::unlock() noexcept {
    return !isNull() && mutex_->unlock();
}

bool KelMutex::close() noexcept {
    if (isNull()) return false;
    mutex_.reset();
    return true;
}

std::uint32_t KelMutex::timeoutMs(double seconds) noexcept {
    constexpr std::uint32_t kLongest =
        std::numeric_limits<std::uint32_t>::max() - 1;  // all ones means "for ever"
    const double milliseconds = seconds * 1000;
    if (!(milliseconds >= 1)) return 1;  // not a number ends here too
    if (milliseconds >= kLongest) return kLongest;
    return static_cast<std::uint32_t>(milliseconds);
}
