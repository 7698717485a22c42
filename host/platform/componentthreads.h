// What the system wants of threads that use components.
#pragma once

namespace kelhost::platform {

// From here to the end of the process every thread may create objects of components. A thread that made other
// arrangements with the system keeps them. Threads: any, any number of times.
void admitThreads() noexcept;

}  // namespace kelhost::platform
