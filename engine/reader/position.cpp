#include "engine/reader/position.h"

#include <algorithm>
#include <bit>

#include "engine/reader/detail/block.h"

namespace engine::reader {

namespace {
constexpr std::uint64_t kStep = 4096;  // bytes between two marks of an index
static_assert(kPositionSlack >= detail::kBlock);
}  // namespace

void advance(TextMark& mark, const char* from, std::uint64_t count) noexcept {
    using detail::kBlock;
    mark.offset += count;
    while (count != 0) {
        const auto now = static_cast<unsigned>(std::min<std::uint64_t>(count, kBlock));
        const std::uint32_t inside = (std::uint32_t{1} << now) - 1;
        const detail::Block block = detail::Block::load(from);
        const std::uint32_t starts = ~block.continuations() & inside;
        const std::uint32_t lineEnds = block.equal('\n') & inside;
        // Nearly every block is ASCII, where each byte is a character and nothing has to be counted.
        const bool isAscii = starts == inside;
        const unsigned characters = isAscii ? now : static_cast<unsigned>(std::popcount(starts));
        mark.characters += characters;
        if (lineEnds == 0) {
            mark.position.column += characters;
        } else {
            for (std::uint32_t rest = lineEnds; rest != 0; rest &= rest - 1) ++mark.position.line;
            const auto after = static_cast<unsigned>(std::bit_width(lineEnds));
            mark.position.column =
                1 + (isAscii ? now - after : static_cast<unsigned>(std::popcount(starts >> after)));
        }
        from += now;
        count -= now;
    }
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

}  // namespace engine::reader
