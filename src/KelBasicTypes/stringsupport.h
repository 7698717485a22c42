// The host's string support.
#pragma once

class IKelStrSupport;

namespace kel {

// Looked up once in the process, on the first call from any thread, and kept whether found or not: a string
// operation that needs it before the host is linked settles the fallbacks for good. Borrowed; null if there
// is none.
[[nodiscard]] IKelStrSupport* stringSupport();

}  // namespace kel
