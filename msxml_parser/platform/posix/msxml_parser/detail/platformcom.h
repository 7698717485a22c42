// Where COM and the XML interfaces come from on this platform: our own engine. Each platform has a header of
// this name, which gives the same names and signatures.
#pragma once

#include "engine/com/msxml.h"
