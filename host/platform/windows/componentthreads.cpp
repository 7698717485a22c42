#include "host/platform/componentthreads.h"

#include <windows.h>

#include <combaseapi.h>

namespace kelhost::platform {

// COM serves threads of an apartment alone. While there is a multithreaded one, it takes in every thread that
// has not chosen; nothing is initialised on the caller's own thread, which may want another sort.
void admitThreads() noexcept {
    static const bool isAdmitted = [] {
        CO_MTA_USAGE_COOKIE kept{};  // until the process ends
        return SUCCEEDED(CoIncrementMTAUsage(&kept));
    }();
    (void)isAdmitted;  // rejected: creating an object will say so
}

}  // namespace kelhost::platform
