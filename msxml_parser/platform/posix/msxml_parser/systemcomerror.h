// `_com_error` of this platform: our engine's.
#pragma once

#include "engine/com/comerror.h"
