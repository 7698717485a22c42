// What a process that ends looks like from outside. Each platform has a header of this name.
#pragma once

namespace kel::test {

inline constexpr int kStatusOfMinusOne = 255;  // eight bits are passed on

// What the box before the end leaves on standard error: a simple regular expression of the test library.
inline constexpr const char* kOutOfMemoryBox = "Out of Memory.While running this function, you have run out";

// No one has to press the button of a box that is text.
class ButtonPresser {};

}  // namespace kel::test
