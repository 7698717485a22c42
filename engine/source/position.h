// Lines and columns, computed from offsets on demand. A text here is valid UTF-8 with line feeds as line
// ends. Threads: pure functions and plain objects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace engine::source {

// A position in the document as an editor shows it: both count from 1, columns in characters (code points).
struct Position {
    std::uint32_t line = 0;  // 0: no position
    std::uint32_t column = 0;
};

// An offset into a text with what lies before it.
struct TextMark {
    std::uint64_t offset = 0;
    std::uint64_t characters = 0;
    Position position{1, 1};
};

// Moves the mark, which stands at `from`, on by `count` bytes. Linear, some bytes a clock tick.
void advance(TextMark& mark, const char* from, std::uint64_t count) noexcept;

// Positions in one text, in any order. Remembers a mark every few kilobytes, as far as it has been asked.
class PositionIndex final {
public:
    explicit PositionIndex(std::string_view text) noexcept : text_(text) {}  // borrowed
    [[nodiscard]] Position at(std::uint64_t offset);                         // at most the text's length

private:
    std::string_view text_;
    std::vector<TextMark> marks_;  // at each multiple of the step
};

}  // namespace engine::source
