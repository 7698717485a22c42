// Environment variables of this process. Threads: none of this while others run.
#pragma once

#include <stdlib.h>

namespace kel::test {

inline void setVariable(const char* name, const char* value) {
    (void)_putenv_s(name, value);
}
inline void unsetVariable(const char* name) {
    (void)_putenv_s(name, "");
}

}  // namespace kel::test
