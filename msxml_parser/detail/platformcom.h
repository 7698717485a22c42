// Where COM and the XML interfaces come from: the platform's headers on Windows, our own engine's elsewhere.
// With comerror.h the one place of this component that asks. What it gives has the same names and signatures
// on both.
#pragma once

#include "msxml_parser/comerror.h"

#if defined(_WIN32)
#if __has_include(<msxml6.h>)
#include <msxml6.h>
#else
#include <msxml2.h>  // the same interfaces, in a compiler's headers that have no file for the version
#endif
#else
#include "engine/com/msxml.h"
#endif
