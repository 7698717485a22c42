// What a process finds around it: variables, files. Threads: none of this while others run.
#pragma once

#include <stdlib.h>

namespace kel::test {

// Null: variables of the environment say where the user's folders are; else why tests of that are skipped.
inline constexpr const char* kFoldersFollowVariables = "no variables say where this system's folders are";

inline void setVariable(const char* name, const char* value) {
    (void)_putenv_s(name, value);
}
inline void unsetVariable(const char* name) {
    (void)_putenv_s(name, "");
}

inline constexpr const char* kLibrarySuffix = ".dll";

// How many names a temporary file may show while it is open.
inline constexpr unsigned kNamesOfOpenTemporary = 1;  // it goes when it is closed

}  // namespace kel::test
