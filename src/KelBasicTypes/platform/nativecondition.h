// The operating system's own condition variable.
#pragma once

namespace kel::platform {

// `condition` is the address of a pthread_cond_t or of a CONDITION_VARIABLE.
[[nodiscard]] bool initializeNativeCondition(void* condition) noexcept;

}  // namespace kel::platform
