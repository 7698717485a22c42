#include "KelBasicTypes/platform/processbarrier.h"

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kel::platform {
namespace {

bool command(int code) noexcept {
    return syscall(SYS_membarrier, code, 0, 0) == 0;
}

}  // namespace

bool hasProcessBarrier() noexcept {
    // Registered at once: a registration that failed later would find threads that rely on the barrier.
    static const bool has = command(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);
    return has;
}

void processBarrier() noexcept {
    if (hasProcessBarrier()) (void)command(MEMBARRIER_CMD_PRIVATE_EXPEDITED);  // registered: does not fail
}

void renewProcessBarrier() noexcept {
    if (hasProcessBarrier()) (void)command(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);
}

}  // namespace kel::platform
