#include "engine/source/position.h"

#include <string_view>

namespace engine::source {

namespace {

constexpr std::uint64_t kStep = 4096;  // bytes between two marks of an index

struct Counts {
    std::uint64_t lineEnds = 0;
    std::uint64_t continuations = 0;  // bytes that continue a character
};

// Of a fixed number of bytes, below 256, so that compilers count many of them at once.
template <std::uint8_t kCount>
void countFixed(Counts& counts, const char* from) noexcept {
    std::uint8_t lineEnds = 0;
    std::uint8_t continuations = 0;
    for (std::uint8_t i = 0; i < kCount; ++i) {
        lineEnds = static_cast<std::uint8_t>(lineEnds + (from[i] == '\n' ? 1 : 0));
        continuations = static_cast<std::uint8_t>(
            continuations + ((static_cast<unsigned char>(from[i]) & 0xC0) == 0x80 ? 1 : 0));
    }
    counts.lineEnds += lineEnds;
    counts.continuations += continuations;
}

template <std::uint8_t kCount>
void countRuns(Counts& counts, std::string_view& text) noexcept {
    for (; text.size() >= kCount; text.remove_prefix(kCount)) countFixed<kCount>(counts, text.data());
}

Counts countIn(std::string_view text) noexcept {
    Counts counts;
    countRuns<240>(counts, text);
    countRuns<16>(counts, text);
    countRuns<1>(counts, text);
    return counts;
}

}  // namespace

void advance(TextMark& mark, const char* from, std::uint64_t count) noexcept {
    const std::string_view passed(from, static_cast<std::size_t>(count));
    const Counts counts = countIn(passed);
    const std::uint64_t characters = count - counts.continuations;
    mark.offset += count;
    mark.characters += characters;
    if (counts.lineEnds == 0) {
        mark.position.column += static_cast<std::uint32_t>(characters);
        return;
    }
    const std::string_view last = passed.substr(passed.rfind('\n') + 1);
    mark.position.line += static_cast<std::uint32_t>(counts.lineEnds);
    mark.position.column =
        1 + static_cast<std::uint32_t>(last.size() - static_cast<std::size_t>(countIn(last).continuations));
}

Position PositionIndex::at(std::uint64_t offset) {
    if (marks_.empty()) marks_.emplace_back();
    while (marks_.back().offset + kStep <= offset) {
        TextMark next = marks_.back();
        advance(next, text_.data() + next.offset, kStep);
        marks_.push_back(next);
    }
    TextMark mark = marks_[static_cast<std::size_t>(offset / kStep)];
    advance(mark, text_.data() + mark.offset, offset - mark.offset);
    return mark.position;
}

}  // namespace engine::source
