// Ends the compilation with a sentence where the compiler is not in C++20 mode. Included by the headers that
// programs begin with, before anything that such a compiler would not understand.
#pragma once

#if (defined(_MSVC_LANG) && _MSVC_LANG <= 201703L) || (!defined(_MSVC_LANG) && __cplusplus <= 201703L)
#error "msxml_parser needs C++20: compile with -std=c++20 (MSVC: /std:c++20)"
#include "compile with -std=c++20"  // a compiler goes on after #error, and gives up here
#endif
