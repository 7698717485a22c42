// For tests: forget what was settled on first use, as in a freshly loaded component. Call before the host
// goes: references to its services are released.
#pragma once

namespace kel::detail {

void resetStringSupport();
void resetTranslator();
void resetDirectories();
void resetMemoryManager();
void rereadTraceVariable();  // KEL_TRACE_ALLOCATIONS
void resetSpinCount();       // KEL_SPIN_COUNT, likewise
void resetBufferPool();      // releases the current pool with all that it keeps

}  // namespace kel::detail
