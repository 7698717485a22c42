// Marks the one function that a component library shows to hosts. The one place that knows how a compiler
// spells it. Threads: no state.
#pragma once

#if defined(_WIN32)
// Stands before the declaration of EntryPoint; build the rest hidden (CXX_VISIBILITY_PRESET hidden).
#define KEL_COMPONENT_EXPORT __declspec(dllexport)
#else
// Stands before the declaration of EntryPoint; build the rest hidden (CXX_VISIBILITY_PRESET hidden).
#define KEL_COMPONENT_EXPORT __attribute__((visibility("default")))
#endif
