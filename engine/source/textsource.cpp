// Bytes are read, or converted, to where they stay: they are checked and their line ends normalised in place.
// What is left of a character at the end waits beside the buffer, so that the text is followed by its NUL at
// any time.
#include "engine/source/textsource.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "engine/source/normalise.h"
#include "engine/text/chars.h"
#include "engine/text/utf.h"
#include "engine/text/worded.h"

namespace engine::source {
namespace {

constexpr std::size_t kContext = 512;          // kept before a token, so that messages can show its line
constexpr std::size_t kSourceTextBytes = 160;  // of a line shown on either side of the position
constexpr std::size_t kReadAtOnce = std::size_t{256} << 10;  // of a whole document
constexpr std::size_t kSlack = SourceText::kSlack;

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

TextSource::TextSource(const Input& input, const SourceOptions& options, Extent extent)
    : bytes_(input),
      options_(options),
      chunk_(std::max<std::size_t>(options.chunkInBytes, 1)),
      extent_(extent) {}

Fault TextSource::open() {
    Fault fault = bytes_.open();
    if (fault || bytes_.input().kind() == Input::Kind::Text) {
        makeRoom(0, utf8LengthBound());
        if (!fault) appendText();
        return fault;
    }
    if (extent_ == Extent::Whole) {
        readWhole();
    } else {
        head_.resize(kDetectionBytes);
        const std::size_t given = bytes_.read(head_.data(), head_.size());
        isRawEnded_ = given < head_.size();
        head_.resize(given);
        makeRoom(0, chunk_);
        std::memset(text_, 0, kSlack);
        openEncoding(head_);
        headTaken_ = detection_.markLength;
    }
    fault = std::move(detection_.fault);
    while (fault && !holds(fault.offset) && fill(0)) {  // the message shows the declaration
    }
    if (fault && !holds(fault.offset)) fault.offset = offsetOf(end());
    return fault;
}

void TextSource::openEncoding(std::string_view head) {
    detection_ = detectEncoding(head.substr(0, kDetectionBytes));
    transcoder_ = Transcoder::create(detection_);
}

// The whole input, straight to its place if it is UTF-8, and checked while it is still in the processor's
// cache.
void TextSource::readWhole() {
    const std::uint64_t expected =
        std::min<std::uint64_t>(bytes_.expectedBytes(), options_.lengthLimitInBytes);
    makeRoom(0, std::max<std::size_t>(static_cast<std::size_t>(expected) + 1, kDetectionBytes));
    const std::size_t first = std::min(capacity_, kReadAtOnce);
    std::size_t given = bytes_.read(text_, first);
    isRawEnded_ = given < first;
    openEncoding({text_, given});
    begin_ = end_ = detection_.markLength;
    if (transcoder_ == nullptr) {
        accept(given - begin_, {});
        while (fill(0)) {
        }
        return;
    }
    std::string raw(text_ + begin_, given - begin_);
    begin_ = end_ = 0;
    std::memset(text_, 0, kSlack);
    head_.swap(raw);
    while (fill(0)) {
    }
}

// Of a short text not exact: giving back what is left over costs less than counting.
std::size_t TextSource::utf8LengthBound() const {
    constexpr std::size_t kShort = std::size_t{16} << 10;
    constexpr std::size_t kMaxBytesPerUnit = 3;
    const std::u16string_view units = bytes_.input().text();
    return units.size() <= kShort ? kMaxBytesPerUnit * units.size() : text::utf8Length(units);
}

void TextSource::appendText() {
    std::u16string_view units = bytes_.input().text();
    if (units.starts_with(u'\uFEFF')) units.remove_prefix(1);
    isRawEnded_ = true;
    accept(text::convertToUtf8(units, text_), {});
}

std::size_t TextSource::readRaw(char* to, std::size_t count) {
    const std::size_t fromHead = head_.copy(to, count, headTaken_);
    headTaken_ += fromHead;
    const bool isMoreWanted = fromHead != count && !isRawEnded_;
    const std::size_t given = isMoreWanted ? bytes_.read(to + fromHead, count - fromHead) : 0;
    if (isMoreWanted && given < count - fromHead) isRawEnded_ = true;
    return fromHead + given;
}

bool TextSource::fill(std::uint64_t keep) {
    const auto kept = static_cast<std::size_t>(base_ + (end_ - begin_) - keep);
    // A token that does not fit is looked at again from its start: reading as much again keeps that linear.
    const bool isLong = kept >= 4096 && extent_ == Extent::Window;
    const std::size_t wanted = isLong ? std::max(chunk_, kept) : chunk_;
    while (!isEnded_) {
        const std::uint64_t before = offsetOf(end());
        if (transcoder_ == nullptr) {
            // A whole file of the length that was expected needs no more room than it has.
            const std::size_t room = capacity_ - end_;
            const bool isRoomy = extent_ == Extent::Whole && room > tailSize_;
            if (!isRoomy) makeRoom(keep, wanted + tailSize_);
            const std::size_t asked = isRoomy ? std::min(wanted, room - tailSize_) : wanted;
            std::memcpy(text_ + end_, tail_.data(), tailSize_);
            const std::size_t given = readRaw(text_ + end_ + tailSize_, asked);
            accept(tailSize_ + given, {});
        } else {
            const std::size_t waiting = raw_.size();
            raw_.resize(waiting + wanted);
            raw_.resize(waiting + readRaw(raw_.data() + waiting, wanted));
            raw_.erase(0, convert(keep, raw_, isAtRawEnd() && !bytes_.fault()));
        }
        if (offsetOf(end()) != before) return true;
    }
    return false;
}

// Returns how much of `from` was taken.
std::size_t TextSource::convert(std::uint64_t keep, std::string_view from, bool isLast) {
    converted_.clear();
    Transcoded result = transcoder_->convert(from, isLast, converted_);
    makeRoom(keep, tailSize_ + converted_.size());
    std::memcpy(text_ + end_, tail_.data(), tailSize_);
    std::memcpy(text_ + end_ + tailSize_, converted_.data(), converted_.size());
    const std::size_t added = tailSize_ + converted_.size();
    const bool isMoreToCome = !isLast && !(result.consumed == 0 && bytes_.fault());
    accept(added, result.fault, isMoreToCome);
    return result.consumed;
}

bool TextSource::isAtRawEnd() const noexcept {
    return isRawEnded_ && headTaken_ >= head_.size();
}

void TextSource::accept(std::size_t added, const Fault& after) {
    accept(added, after, !isAtRawEnd());
}

// Takes the bytes after the window into it. `after` is what is wrong with what follows them.
void TextSource::accept(std::size_t added, const Fault& after, bool isMoreToCome) {
    const Checked checked = check({text_ + end_, added}, !isMoreToCome && !bytes_.fault());
    const bool isOver = checked.fault || after || !isMoreToCome;
    tailSize_ = isOver ? 0 : added - checked.length;
    if (tailSize_ != 0) std::memcpy(tail_.data(), text_ + end_ + checked.length, tailSize_);
    std::size_t length = checked.length;
    if (checked.hasReturn) length = normaliseLineEnds(text_ + end_, length, offsetOf(end()), dropped_);
    end_ += length;
    std::memset(text_ + end_, 0, kSlack);
    if (offsetOf(end()) > options_.lengthLimitInBytes && !checked.fault && !after) {
        end({ErrorCode::TooLong, kNoOffset,
             text::worded("The document is longer than %1 bytes.",
                          std::to_string(options_.lengthLimitInBytes))});
    } else if (isOver) {
        end(checked.fault ? checked.fault : after ? after : bytes_.fault());
    }
}

void TextSource::end(Fault fault) {
    isEnded_ = true;
    fault_ = std::move(fault);
    fault_.offset = offsetOf(end());
}

void TextSource::reallocate(std::size_t capacity) {
    auto* const bigger = static_cast<char*>(std::realloc(buffer_.get(), capacity + kSlack));
    if (bigger == nullptr) throw std::bad_alloc();
    (void)buffer_.release();
    buffer_.reset(bigger);
    text_ = bigger;
    capacity_ = capacity;
}

void TextSource::makeRoom(std::uint64_t keep, std::size_t bytes) {
    if (capacity_ >= end_ + bytes && text_ != nullptr) return;
    if (extent_ == Extent::Whole || text_ == nullptr) {
        const std::size_t grown = capacity_ + capacity_ / 2;
        return reallocate(std::max(end_ + bytes, grown));
    }
    if (keep > base_ + kContext) drop(keep - kContext);
    const std::size_t live = end_ - begin_;
    std::memmove(text_, begin(), live);
    begin_ = 0;
    end_ = live;
    if (live + bytes > capacity_ || live > capacity_ / 2) reallocate(std::max(4 * bytes, 2 * (live + bytes)));
}

void TextSource::drop(std::uint64_t until) {
    while (isContinuation(*at(until))) --until;
    if (lastMark_.offset <= until) baseMark_ = lastMark_;
    advance(baseMark_, at(baseMark_.offset), until - baseMark_.offset);
    begin_ += static_cast<std::size_t>(until - base_);
    base_ = until;
    if (lastMark_.offset < base_) lastMark_ = baseMark_;
    const auto held = std::upper_bound(dropped_.begin(), dropped_.end(), until);
    droppedCount_ += static_cast<std::uint64_t>(held - dropped_.begin());
    dropped_.erase(dropped_.begin(), held);
}

const TextMark& TextSource::markAt(std::uint64_t offset) {
    if (offset < lastMark_.offset) lastMark_ = baseMark_;
    advance(lastMark_, at(lastMark_.offset), offset - lastMark_.offset);
    return lastMark_;
}

std::uint64_t TextSource::droppedBefore(std::uint64_t offset) const {
    const auto after = std::upper_bound(dropped_.begin(), dropped_.end(), offset);
    return droppedCount_ + static_cast<std::uint64_t>(after - dropped_.begin());
}

std::string TextSource::lineAround(std::uint64_t offset) {
    const auto lineEnd = [this](std::uint64_t from) {
        return static_cast<const char*>(
            std::memchr(at(from), '\n', static_cast<std::size_t>(end() - at(from))));
    };
    while (end() < at(offset) + kSourceTextBytes && lineEnd(offset) == nullptr && fill(offset)) {
    }
    const char* const middle = at(offset);
    const char* first = middle;
    while (first != begin() && first[-1] != '\n' &&
           middle - first < static_cast<std::ptrdiff_t>(kSourceTextBytes)) {
        --first;
    }
    while (first != middle && isContinuation(*first)) ++first;
    const char* last = lineEnd(offset);
    if (last == nullptr) last = end();
    if (last - middle > static_cast<std::ptrdiff_t>(kSourceTextBytes)) last = middle + kSourceTextBytes;
    while (last != end() && isContinuation(*last)) --last;
    return {first, last};
}

ParseError TextSource::errorAt(std::uint64_t offset) {
    const TextMark& mark = markAt(offset);
    return {0, mark.position, {}, {}, mark.characters + droppedBefore(offset)};
}

ParseError TextSource::describe(const Fault& fault) {
    ParseError error;
    if (fault.offset != kNoOffset && holds(fault.offset)) {
        error = errorAt(fault.offset);
        error.sourceText = lineAround(fault.offset);
    }
    error.code = statusOf(fault.code);
    error.reason = fault.reason;
    return error;
}

SourceText TextSource::takeText() noexcept {
    const auto length = static_cast<std::size_t>(end() - begin());
    constexpr std::size_t kLittle = 2048;  // not worth the call
    if (capacity_ - end_ > std::max(capacity_ / 16, kLittle)) {
        if (void* const fitting = std::realloc(buffer_.get(), end_ + kSlack)) {
            (void)buffer_.release();
            buffer_.reset(static_cast<char*>(fitting));
            text_ = static_cast<char*>(fitting);
            capacity_ = end_;
        }
    }
    return {std::move(buffer_), {begin(), length}};
}

}  // namespace engine::source
