// Where COM and the XML interfaces come from on this platform: its own headers. Each platform has a header of
// this name, which gives the same names and signatures.
#pragma once

#include "msxml_parser/systemcomerror.h"

#if __has_include(<msxml6.h>)
#include <msxml6.h>
#else
#include <msxml2.h>  // the same interfaces, in a compiler's headers that have no file for the version
#endif
