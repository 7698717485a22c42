// The text of a document as XML sees it, in a window that moves along: decoded to UTF-8, checked, line ends
// normalised. What stands in the window is certainly valid text, so the parsers look at structure only.
//
// Offsets count the bytes of that text from the start of the document. The window ends in a NUL, which no
// valid text holds, and may be read kBlock bytes beyond its end. Faults of the source (bad bytes, a failing
// device) show only when all text before them has been taken: an earlier mistake in the structure is told
// first.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/reader/detail/byte_source.h"
#include "engine/reader/detail/encoding.h"
#include "engine/reader/detail/filter.h"
#include "engine/reader/events.h"

namespace engine::reader::detail {

class TextSource final {
public:
    TextSource(const Input& input, const ReadOptions& options);

    // Starts at the beginning, for the first time or again. A fault found here has no text before it, or the
    // XML declaration only.
    [[nodiscard]] Fault open();

    [[nodiscard]] const char* begin() const noexcept { return buffer_.get() + begin_; }
    [[nodiscard]] const char* end() const noexcept { return buffer_.get() + end_; }
    [[nodiscard]] std::uint64_t offsetOf(const char* at) const noexcept {
        return base_ + static_cast<std::uint64_t>(at - begin());
    }
    [[nodiscard]] const char* at(std::uint64_t offset) const noexcept { return begin() + (offset - base_); }
    [[nodiscard]] bool holds(std::uint64_t offset) const noexcept {
        return offset >= base_ && offset <= base_ + (end_ - begin_);
    }

    // Appends to the window, keeping the text from offset `keep` on (and a little before it, for messages).
    // Pointers into the window become invalid. False: nothing was added, the text ends here, `fault` says
    // why.
    [[nodiscard]] bool fill(std::uint64_t keep);
    [[nodiscard]] const Fault& fault() const noexcept { return fault_; }

    // Line and column of a place in the window.
    [[nodiscard]] Position positionOf(std::uint64_t offset);
    // The whole record for a fault in the window; without an offset it stands nowhere.
    [[nodiscard]] ParseError describe(const Fault& fault);

private:
    struct Mark {
        std::uint64_t offset = 0;
        std::uint64_t characters = 0;  // before it, in the window's text
        Position position{1, 1};
    };

    void readRaw(std::size_t bytes);
    [[nodiscard]] bool convertRaw(std::uint64_t keep, std::size_t bytes);
    void end(Fault fault);
    void makeRoom(std::uint64_t keep, std::size_t bytes);
    void drop(std::uint64_t until);
    void advance(Mark& mark, std::uint64_t to) const;
    [[nodiscard]] const Mark& markAt(std::uint64_t offset);
    [[nodiscard]] std::uint64_t fallenBefore(std::uint64_t offset) const;
    [[nodiscard]] std::string lineAround(std::uint64_t offset);

    ByteSource bytes_;
    ReadOptions options_;
    std::unique_ptr<Transcoder> transcoder_;  // null: the bytes are UTF-8 already
    TextFilter filter_;
    std::vector<char> raw_;
    std::size_t rawSize_ = 0;  // bytes at the front of raw_, read and not yet converted
    bool rawEnded_ = false;
    std::string converted_;  // scratch: UTF-8 before the filter
    bool ended_ = false;
    Fault fault_;

    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;  // without the room for the NUL and for reading beyond
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::uint64_t base_ = 0;            // offset of the window's first byte
    Mark baseMark_;                     // stands at base_
    Mark lastMark_;                     // the last place asked for, or base_
    std::deque<std::uint64_t> fallen_;  // offsets in the window before which a character fell away
    std::uint64_t fallenCount_ = 0;     // before the window
    std::vector<std::size_t> fallenNow_;
};

}  // namespace engine::reader::detail
