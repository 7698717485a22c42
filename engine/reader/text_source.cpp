#include "engine/reader/detail/text_source.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "engine/reader/detail/block.h"
#include "engine/reader/detail/chars.h"

namespace engine::reader::detail {
namespace {

constexpr std::size_t kContext = 512;          // kept before a token, so that messages can show its line
constexpr std::size_t kSourceTextBytes = 160;  // of a line shown on either side of the culprit
constexpr std::size_t kSlack = kBlock + 1;

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

TextSource::TextSource(const Input& input, const ReadOptions& options) : bytes_(input), options_(options) {
    options_.chunkInBytes = std::max<std::size_t>(options_.chunkInBytes, 1);
}

Fault TextSource::open() {
    rawSize_ = 0;
    filter_ = {};
    rawEnded_ = ended_ = false;
    fault_ = {};
    begin_ = end_ = 0;
    base_ = fallenCount_ = 0;
    baseMark_ = lastMark_ = {};
    fallen_.clear();
    makeRoom(0, options_.chunkInBytes);
    buffer_[0] = '\0';
    if (Fault fault = bytes_.open()) return fault;

    readRaw(kDetectionBytes);
    Detection detection;
    if (bytes_.input().kind() == Input::Kind::Text) {
        detection.encoding =
            std::endian::native == std::endian::little ? Encoding::Utf16Little : Encoding::Utf16Big;
        detection.markLength = bytes_.input().text().starts_with(u'\uFEFF') ? 2 : 0;
    } else {
        detection = detectEncoding({raw_.data(), rawSize_});
    }
    rawSize_ -= detection.markLength;
    std::memmove(raw_.data(), raw_.data() + detection.markLength, rawSize_);
    transcoder_ = Transcoder::create(detection);
    while (detection.fault && !holds(detection.fault.offset) &&
           fill(0)) {  // the message shows the declaration
    }
    if (detection.fault && !holds(detection.fault.offset)) detection.fault.offset = offsetOf(end());
    return detection.fault;
}

void TextSource::readRaw(std::size_t bytes) {
    if (raw_.size() < rawSize_ + bytes) raw_.resize(rawSize_ + bytes);
    const std::size_t given = bytes_.read(raw_.data() + rawSize_, bytes);
    rawSize_ += given;
    if (given < bytes) rawEnded_ = true;
}

bool TextSource::fill(std::uint64_t keep) {
    const auto kept = static_cast<std::size_t>(base_ + (end_ - begin_) - keep);
    // A token that does not fit is looked at again from its start: reading as much again keeps that linear.
    std::size_t wanted = kept < 4096 ? options_.chunkInBytes : std::max(options_.chunkInBytes, kept);
    while (!ended_) {
        if (rawSize_ < wanted && !rawEnded_) readRaw(wanted - rawSize_);
        if (convertRaw(keep, std::min(wanted, rawSize_))) return true;
        ++wanted;  // what is there is the start of one character
    }
    return false;
}

bool TextSource::convertRaw(std::uint64_t keep, std::size_t bytes) {
    const bool last = rawEnded_ && bytes == rawSize_ && !bytes_.fault();
    std::string_view text(raw_.data(), bytes);
    std::size_t consumed = 0;
    Fault fault;
    if (transcoder_ != nullptr) {
        converted_.clear();
        Transcoded result = transcoder_->convert(text, last, converted_);
        consumed = result.consumed;
        fault = std::move(result.fault);
        text = converted_;
    }
    makeRoom(keep, text.size());
    fallenNow_.clear();
    Filtered filtered = filter_.run(text, last, buffer_.get() + end_, fallenNow_);
    for (std::size_t at : fallenNow_) fallen_.push_back(offsetOf(end()) + at);
    end_ += filtered.written;
    buffer_[end_] = '\0';
    if (transcoder_ == nullptr) consumed = filtered.consumed;
    rawSize_ -= consumed;
    std::memmove(raw_.data(), raw_.data() + consumed, rawSize_);

    if (filtered.fault || fault) {
        end(std::move(filtered.fault ? filtered.fault : fault));
    } else if (offsetOf(end()) > options_.lengthLimitInBytes) {
        end({ErrorCode::TooLong, kNoOffset,
             "The document is longer than " + std::to_string(options_.lengthLimitInBytes) + " bytes."});
    } else if (rawEnded_ && (rawSize_ == 0 || (consumed == 0 && bytes_.fault()))) {
        end(bytes_.fault());
    }
    return filtered.written != 0;
}

void TextSource::end(Fault fault) {
    ended_ = true;
    fault_ = std::move(fault);
    fault_.offset = offsetOf(end());
}

void TextSource::makeRoom(std::uint64_t keep, std::size_t bytes) {
    if (capacity_ >= end_ + bytes && buffer_ != nullptr) return;
    if (keep > base_ + kContext) drop(keep - kContext);
    const std::size_t live = end_ - begin_;
    if (live + bytes > capacity_ || live > capacity_ / 2) {
        const std::size_t capacity = std::max(4 * bytes, 2 * (live + bytes));
        auto bigger = std::make_unique<char[]>(capacity + kSlack);
        if (live != 0) std::memcpy(bigger.get(), begin(), live);
        buffer_ = std::move(bigger);
        capacity_ = capacity;
    } else {
        std::memmove(buffer_.get(), begin(), live);
    }
    begin_ = 0;
    end_ = live;
}

void TextSource::drop(std::uint64_t until) {
    while (isContinuation(*at(until))) --until;
    advance(baseMark_, until);
    begin_ += static_cast<std::size_t>(until - base_);
    base_ = until;
    if (lastMark_.offset < base_) lastMark_ = baseMark_;
    while (!fallen_.empty() && fallen_.front() <= until) {
        fallen_.pop_front();
        ++fallenCount_;
    }
}

void TextSource::advance(Mark& mark, std::uint64_t to) const {
    const char* from = at(mark.offset);
    std::uint64_t left = to - mark.offset;
    mark.offset = to;
    while (left != 0) {
        const auto now = static_cast<unsigned>(std::min<std::uint64_t>(left, kBlock));
        const std::uint32_t inside = (std::uint32_t{1} << now) - 1;
        const Block block = Block::load(from);  // the slack allows for it
        const std::uint32_t starts = block.above(-65) & inside;
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
        left -= now;
    }
}

const TextSource::Mark& TextSource::markAt(std::uint64_t offset) {
    if (offset < lastMark_.offset) lastMark_ = baseMark_;
    advance(lastMark_, offset);
    return lastMark_;
}

Position TextSource::positionOf(std::uint64_t offset) {
    return markAt(offset).position;
}

std::uint64_t TextSource::fallenBefore(std::uint64_t offset) const {
    const auto at = std::upper_bound(fallen_.begin(), fallen_.end(), offset);
    return fallenCount_ + static_cast<std::uint64_t>(at - fallen_.begin());
}

std::string TextSource::lineAround(std::uint64_t offset) {
    const auto lineEnd = [this](std::uint64_t from) {
        return static_cast<const char*>(
            std::memchr(at(from), '\n', static_cast<std::size_t>(end() - at(from))));
    };
    while (end() < at(offset) + kSourceTextBytes && lineEnd(offset) == nullptr && fill(offset)) {
    }
    const char* const culprit = at(offset);
    const char* first = culprit;
    while (first != begin() && first[-1] != '\n' &&
           culprit - first < static_cast<std::ptrdiff_t>(kSourceTextBytes)) {
        --first;
    }
    while (first != culprit && isContinuation(*first)) ++first;
    const char* last = lineEnd(offset);
    if (last == nullptr) last = end();
    if (last - culprit > static_cast<std::ptrdiff_t>(kSourceTextBytes)) last = culprit + kSourceTextBytes;
    while (last != end() && isContinuation(*last)) --last;
    return {first, last};
}

ParseError TextSource::describe(const Fault& fault) {
    ParseError error;
    error.code = statusOf(fault.code);
    error.reason = fault.reason;
    if (fault.offset == kNoOffset) return error;
    const Mark& mark = markAt(fault.offset);
    error.position = mark.position;
    error.filePosition = mark.characters + fallenBefore(fault.offset);
    error.sourceText = lineAround(fault.offset);
    return error;
}

}  // namespace engine::reader::detail
