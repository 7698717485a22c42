// A message that the user cannot miss, when the process is about to end. Takes no memory from the heap.
#pragma once

#include <string_view>

namespace kel::platform {

// Returns when the user has seen it: on Windows a modal box with one button, elsewhere text on standard
// error.
void showMessageBox(std::u16string_view message, std::u16string_view caption) noexcept;

}  // namespace kel::platform
