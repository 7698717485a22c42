// Environment variables of this process. Threads: none of this while others run.
#pragma once

#include <stdlib.h>

namespace kel::test {

inline void setVariable(const char* name, const char* value) {
    (void)::setenv(name, value, 1);
}
inline void unsetVariable(const char* name) {
    (void)::unsetenv(name);
}

}  // namespace kel::test
