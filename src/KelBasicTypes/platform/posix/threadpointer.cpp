#include "threadpointer.h"

#include <pthread.h>

#include <atomic>
#include <utility>

namespace kel::platform {

[[gnu::tls_model("initial-exec")]] constinit thread_local void* currentThreadPointer = nullptr;

namespace {

[[gnu::tls_model("initial-exec")]] constinit thread_local bool hasEnded = false;

constinit std::atomic<ThreadEnd> threadEnd{nullptr};

// Called by the system at the end of a thread that has a value for the key.
void end(void* /*mark*/) noexcept {
    hasEnded = true;
    threadEnd.load(std::memory_order_acquire)(std::exchange(currentThreadPointer, nullptr));
}

// Deleted with the library, although threads may still run: the system would call into code that is gone.
class EndKey final {
public:
    EndKey() noexcept : isMade_(pthread_key_create(&key_, end) == 0) {}
    EndKey(const EndKey&) = delete;
    EndKey& operator=(const EndKey&) = delete;
    ~EndKey() {
        if (isMade_) pthread_key_delete(key_);
        isMade_ = false;
    }

    [[nodiscard]] bool announceEnd() const noexcept {
        static const char mark = 0;
        return isMade_ && pthread_setspecific(key_, &mark) == 0;
    }

private:
    pthread_key_t key_{};
    bool isMade_;
};

}  // namespace

bool setThreadPointer(void* pointer, ThreadEnd onEnd) noexcept {
    static const EndKey key;
    if (hasEnded) return false;
    if (currentThreadPointer == nullptr) {
        threadEnd.store(onEnd, std::memory_order_release);
        if (!key.announceEnd()) return false;
    }
    currentThreadPointer = pointer;
    return true;
}

}  // namespace kel::platform
