// `_com_error` of this platform: the compiler's.
#pragma once

#include <windows.h>
// After windows.h, on which it leans.
#include <comdef.h>
