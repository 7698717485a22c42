// The text of a document as XML sees it: decoded to UTF-8, checked, line ends normalised. It stands in one
// buffer, which holds a window that moves along, or the whole document. What stands there is certainly valid
// text, so the parsers look at structure only.
//
// Offsets count the bytes of that text from the start of the document. The text ends in a NUL, which no valid
// text holds, and may be read kSlack bytes beyond its end. Faults of the source (bad bytes, a failing device)
// show only when all text before them has been taken: an earlier error in the structure is reported first.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/source/bytesource.h"
#include "engine/source/encoding.h"
#include "engine/source/position.h"
#include "engine/source/sourcetext.h"

namespace engine::source {

class TextSource final {
public:
    enum class Extent : std::uint8_t { Window, Whole };

    TextSource(const Input& input, const SourceOptions& options, Extent extent);

    // Opens the input; the whole document is then read as well. A fault found here has no text before it, or
    // the XML declaration only.
    [[nodiscard]] Fault open();

    [[nodiscard]] const char* begin() const noexcept { return text_ + begin_; }
    [[nodiscard]] const char* end() const noexcept { return text_ + end_; }
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

    // Line and column of an offset in the window.
    [[nodiscard]] Position positionOf(std::uint64_t offset) { return markAt(offset).position; }
    // An error there, without code and words; it stays right when the window has moved on.
    [[nodiscard]] ParseError errorAt(std::uint64_t offset);
    // The whole record for a fault in the window; without an offset, or outside, it has no position.
    [[nodiscard]] ParseError describe(const Fault& fault);

    // The buffer of a whole document, for the caller to keep as long as this object is used, or longer.
    [[nodiscard]] SourceText takeText() noexcept;

private:
    void openEncoding(std::string_view head);
    void readWhole();
    [[nodiscard]] std::size_t utf8LengthBound() const;
    void appendText();
    [[nodiscard]] std::size_t readRaw(char* to, std::size_t count);
    [[nodiscard]] std::size_t convert(std::uint64_t keep, std::string_view from, bool isLast);
    [[nodiscard]] bool isAtRawEnd() const noexcept;
    void accept(std::size_t added, const Fault& after);
    void accept(std::size_t added, const Fault& after, bool isMoreToCome);
    void end(Fault fault);
    void reallocate(std::size_t capacity);
    void makeRoom(std::uint64_t keep, std::size_t bytes);
    void drop(std::uint64_t until);
    [[nodiscard]] const TextMark& markAt(std::uint64_t offset);
    [[nodiscard]] std::uint64_t droppedBefore(std::uint64_t offset) const;
    [[nodiscard]] std::string lineAround(std::uint64_t offset);

    ByteSource bytes_;
    const SourceOptions& options_;
    std::size_t chunk_;
    Extent extent_;
    std::unique_ptr<Transcoder> transcoder_;  // null: the bytes are UTF-8 already
    std::string head_;                        // read to find the encoding, and not yet taken
    std::size_t headTaken_ = 0;
    std::string raw_;  // bytes that wait for the rest of their character, and scratch of appendConverted
    std::string converted_;
    bool isRawEnded_ = false;
    bool isEnded_ = false;
    Detection detection_;
    Fault fault_;

    SourceText::Buffer buffer_;
    char* text_ = nullptr;      // of the buffer, which may have been taken
    std::size_t capacity_ = 0;  // without the slack
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::array<char, 4> tail_{};  // after the end: the start of a character, or of a line end
    std::size_t tailSize_ = 0;
    std::uint64_t base_ = 0;              // offset of the window's first byte
    TextMark baseMark_;                   // stands at base_
    TextMark lastMark_;                   // the last offset asked for, or base_
    std::vector<std::uint64_t> dropped_;  // offsets in the window before which a carriage return was dropped
    std::uint64_t droppedCount_ = 0;      // before the window
};

}  // namespace engine::source
