// Where COM and the XML interfaces come from: the platform's headers on Windows, our own engine's elsewhere.
// The one place of this component that asks. What it gives has the same names and signatures on both.
#pragma once

#if defined(_WIN32)
#include <windows.h>
// After windows.h, on which they lean.
#include <comdef.h>
#include <msxml6.h>
#else
#include "engine/com/msxml.h"
#endif
