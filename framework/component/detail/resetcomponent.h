// For tests.
#pragma once

namespace kel::detail {

void rereadEnvironment();  // as loading the component does

}  // namespace kel::detail
