#include "engine/xslt/platform/stack.h"

#include <pthread.h>

#include <cstdint>
#include <exception>

namespace engine::xslt::platform {

namespace {

constexpr std::size_t kGuess = std::size_t{128} << 10;

// The lowest usable address of this thread's stack, 0 if unknown.
std::uintptr_t findStackEnd() noexcept {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
    void* lowest = nullptr;
    std::size_t size = 0;
    std::size_t guard = 0;
    const bool known = pthread_attr_getstack(&attributes, &lowest, &size) == 0 &&
                       pthread_attr_getguardsize(&attributes, &guard) == 0;
    pthread_attr_destroy(&attributes);
    return known ? reinterpret_cast<std::uintptr_t>(lowest) + guard : 0;
}

struct Job {
    const std::function<void()>& work;
    std::exception_ptr failure;
};

void* runJob(void* data) noexcept {
    auto* job = static_cast<Job*>(data);
    try {
        job->work();
    } catch (...) {
        job->failure = std::current_exception();
    }
    return nullptr;
}

}  // namespace

std::size_t stackLeftInBytes() noexcept {
    // asked once a thread: for the first thread the system reads a file to find out
    thread_local const std::uintptr_t end = findStackEnd();
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return end == 0 || here <= end ? kGuess : here - end;
}

bool runOnStack(std::size_t sizeInBytes, const std::function<void()>& work) {
    Job job{work, nullptr};
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_t thread{};
    const bool started = pthread_attr_setstacksize(&attributes, sizeInBytes) == 0 &&
                         pthread_create(&thread, &attributes, runJob, &job) == 0;
    pthread_attr_destroy(&attributes);
    if (!started) return false;
    pthread_join(thread, nullptr);
    if (job.failure) std::rethrow_exception(job.failure);
    return true;
}

}  // namespace engine::xslt::platform
