// How a number is written into a string. Threads: a value; `flags` is borrowed.
#pragma once

struct KelNumberFormat {
    bool general = false;         // false: fixed notation (f); true: see exponent. Floating point only.
    bool exponent = false;        // with general: true gives e, false gives g
    const char* flags = nullptr;  // printf flags, width and precision, put after the %; null: none
};
