// Checks that need no test library: an outside project has none of ours.
#pragma once

#include <cstdio>

inline int failures = 0;

inline void expect(bool holds, const char* what) {
    if (holds) return;
    ++failures;
    std::fprintf(stderr, "FAILED: %s\n", what);
}
