#include "KelBasicTypes/platform/processmemory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace kel::platform {

// The second number of this file counts pages of physical memory.
std::uint64_t processMemoryInUse() noexcept {
    const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    if (file < 0) return 0;
    char text[128];
    const ssize_t size = read(file, text, sizeof text - 1);
    (void)close(file);  // nothing was written
    if (size <= 0) return 0;
    text[size] = '\0';
    unsigned long long pages = 0;
    // NOLINTNEXTLINE(cert-err34-c): the system writes numbers that fit
    if (std::sscanf(text, "%*u %llu", &pages) != 1) return 0;
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace kel::platform
