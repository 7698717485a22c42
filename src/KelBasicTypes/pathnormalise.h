// Paths as users hand them in.
#pragma once

#include "KelBasicTypes/kelstring.h"

namespace kel {

// A bare drive designation ("c:") gets a separator ("c:\"); every other path is taken as it is.
[[nodiscard]] KelString normalisePath(const KelString& path);

}  // namespace kel
