// Marks the one function that a component library shows to hosts. Build the rest hidden
// (CXX_VISIBILITY_PRESET hidden). The one place that knows how a compiler spells it.
#pragma once

#if defined(_WIN32)
#define KEL_COMPONENT_EXPORT __declspec(dllexport)
#else
#define KEL_COMPONENT_EXPORT __attribute__((visibility("default")))
#endif
