// Which bytes are text that XML allows, and line ends as single line feeds. Both work where the text stands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "engine/source/errors.h"

namespace engine::source {

// How far a text is valid UTF-8 of characters that XML allows.
struct Checked {
    std::size_t length =
        0;  // whole characters; less than all without a fault: the start of a character is left
    bool hasReturn = false;  // a carriage return among them
    Fault fault;             // what follows them
};

// `isLast`: nothing comes after the text, so that a character cut short is a fault. Otherwise a carriage
// return at the end is left, for its line feed may follow.
[[nodiscard]] Checked check(std::string_view text, bool isLast);

// Turns the line ends of a checked text into line feeds and returns the new length. Appends to `dropped` each
// offset of the result, counted from `base`, before which a carriage return was dropped.
std::size_t normaliseLineEnds(char* text, std::size_t length, std::uint64_t base,
                              std::vector<std::uint64_t>& dropped);

}  // namespace engine::source
