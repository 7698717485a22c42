// The process, its clock and its end.
#pragma once

#include <cstdint>
#include <string>

namespace kel::platform {

[[nodiscard]] std::uint32_t processId() noexcept;

[[nodiscard]] std::uint64_t performanceCounter() noexcept;  // only ever grows; finer than a call takes

// Empty when it has more than 256 units, when its name is no text, or when it is gone.
[[nodiscard]] std::u16string currentDirectory();

// The same for all calls of one thread, different from that of every other living thread; never 0.
[[nodiscard]] std::uintptr_t currentThread() noexcept;

void sleepFor(std::uint32_t milliseconds) noexcept;

// Ends the process at once: what the standard streams still hold is written if no thread is using them,
// nothing else is run. Never waits for another thread.
[[noreturn]] void endProcess(int status) noexcept;

}  // namespace kel::platform
