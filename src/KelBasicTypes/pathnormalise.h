// Paths as users give them. Threads: any.
#pragma once

#include "KelBasicTypes/kelstring.h"

namespace kel {

// A bare drive designation ("c:") gets a separator ("c:\"); every other path is taken as it is.
[[nodiscard]] inline KelString normalisePath(const KelString& path) {
    KelString result(path.view());
    if (result.length() == 2 && result[1] == u':') result.append(u'\\');
    return result;
}

}  // namespace kel
