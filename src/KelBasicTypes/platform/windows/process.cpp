#include "KelBasicTypes/platform/process.h"

#include <windows.h>

#include <cstdio>

#include "KelBasicTypes/platform/windows/handle.h"
#include "KelBasicTypes/platform/windows/wide.h"

namespace kel::platform {
namespace {

constexpr DWORD kMaxDirectoryUnits = 256;
constexpr DWORD kFlushLimitMs = 500;

DWORD WINAPI flushStandardStreams(void*) {
    (void)std::fflush(stdout);  // the process ends either way
    (void)std::fflush(stderr);
    return 0;
}

}  // namespace

std::uint32_t processId() noexcept {
    return GetCurrentProcessId();
}

std::uint64_t performanceCounter() noexcept {
    LARGE_INTEGER now{};
    (void)QueryPerformanceCounter(&now);  // there since long
    return static_cast<std::uint64_t>(now.QuadPart);
}

std::u16string currentDirectory() {
    wchar_t path[kMaxDirectoryUnits + 1];
    const DWORD length = GetCurrentDirectoryW(kMaxDirectoryUnits + 1, path);
    if (length == 0 || length > kMaxDirectoryUnits) return {};  // longer: the result is the room needed
    return {toUnits(path), length};
}

std::uintptr_t currentThread() noexcept {
    return GetCurrentThreadId();
}

void sleepFor(std::uint32_t milliseconds) noexcept {
    Sleep(milliseconds);
}

void endProcess(int status) noexcept {
    // On a thread of its own: one that holds a stream's lock may never give it back, and there is no trying.
    const OwnedHandle flushing(CreateThread(nullptr, 0, flushStandardStreams, nullptr, 0, nullptr));
    if (flushing) (void)WaitForSingleObject(flushing.get(), kFlushLimitMs);
    (void)TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    for (;;) Sleep(INFINITE);  // the call above does not return
}

}  // namespace kel::platform
