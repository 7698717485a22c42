// Lets through exactly the text that XML allows: valid UTF-8, allowed characters, line ends as single line
// feeds.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "engine/reader/detail/fault.h"

namespace engine::reader::detail {

struct Filtered {
    std::size_t consumed = 0;
    std::size_t written = 0;
    Fault fault;  // at the end of what was written
};

class TextFilter final {
public:
    // Writes at most from.size() bytes to `to`, which has kBlock bytes of room beyond that; whole characters
    // only. Appends to `dropped` each place of the output, counted from `to`, before which a character fell
    // away. With `last` nothing may be left over.
    [[nodiscard]] Filtered run(std::string_view from, bool last, char* to, std::vector<std::size_t>& dropped);

private:
    bool afterReturn_ = false;  // the last byte was a carriage return; its line feed is already written
};

}  // namespace engine::reader::detail
