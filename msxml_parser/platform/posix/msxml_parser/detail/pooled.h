// Where handles that are made and dropped all the time have their memory. Each platform has a header of this
// name. Here: in blocks that each thread keeps, as the engine's objects.
#pragma once

#include "engine/com/blocks.h"

namespace msxml {
using engine::com::Pooled;
}
