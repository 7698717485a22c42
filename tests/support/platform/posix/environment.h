// What a process finds around it: variables, files. Threads: none of this while others run.
#pragma once

#include <stdlib.h>

namespace kel::test {

// Null: variables of the environment say where the user's folders are; else why tests of that are skipped.
inline constexpr const char* kFoldersFollowVariables = nullptr;

inline void setVariable(const char* name, const char* value) {
    (void)::setenv(name, value, 1);
}
inline void unsetVariable(const char* name) {
    (void)::unsetenv(name);
}

inline constexpr const char* kLibrarySuffix = ".so";

// How many names a temporary file may show while it is open.
inline constexpr unsigned kNamesOfOpenTemporary = 0;  // it loses its name at once

}  // namespace kel::test
