// Failed assertions about how the library is used.
// Threads: any; the callback is called on the thread that failed.
#pragma once

#include <cstdint>

namespace kel {

// Gets the expression that was false and where it stands; the texts are static.
using AssertionCallback = void (*)(const char* expression, const char* sourcePath, std::int32_t line);

// Null uninstalls. Returns the callback that was installed before.
AssertionCallback setAssertionCallback(AssertionCallback callback) noexcept;

// Calls the callback; without one the host's IKelAssertHandlerCB; without that ends the process with status
// 255. When it returns, the caller goes on with what its own declaration says.
void assertionFailed(const char* expression, const char* sourcePath, std::int32_t line);

}  // namespace kel
