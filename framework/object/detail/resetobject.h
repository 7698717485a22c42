// For tests: puts the host link back to the state of a freshly loaded component. The identity stays.
#pragma once

namespace kel::detail {

void resetHostLink();

}  // namespace kel::detail
