// Binary streams: the buffer and the scrambling that all have in common, and the streams in memory.
#include "KelBasicTypes/binmemory.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "KelBasicTypes/binio.h"

namespace kel {
namespace {

std::atomic<BinIO_Scrambler*> processScrambler{nullptr};

}  // namespace

void setScrambler(BinIO_Scrambler* scrambler) noexcept {
    processScrambler = scrambler;
}

BinIO_Scrambler* scrambler() noexcept {
    return processScrambler.load(std::memory_order_acquire);
}

}  // namespace kel

std::span<const std::uint8_t> BinInput::fetch(std::size_t max) {
    BinIO_Scrambler* const scrambler = kel::scrambler();
    const std::int64_t position = scrambler != nullptr ? tell() : 0;
    const std::size_t got = std::min(readRaw(buffer_, std::min(max, kBufferSizeInBytes)), kBufferSizeInBytes);
    if (scrambler != nullptr && got > 0) scrambler->unscramble(buffer_, position, got);
    return {buffer_, got};
}

std::span<std::uint8_t> BinOutput::directBuffer(std::size_t max) {
    if (kBufferSizeInBytes - pending_ < kFlushBelow && !flushBuffer()) return {};
    return {buffer_ + pending_, std::min(max, kBufferSizeInBytes - pending_)};
}

bool BinOutput::commitDirect(std::size_t written) {
    pending_ += std::min(written, kBufferSizeInBytes - pending_);
    return pending_ < kBufferSizeInBytes || flushBuffer();
}

bool BinOutput::flushBuffer() {
    if (pending_ == 0) return true;
    const std::size_t count = pending_;
    if (BinIO_Scrambler* const scrambler = kel::scrambler()) scrambler->scramble(buffer_, tell(), count);
    pending_ = 0;
    const std::size_t taken = writeRaw(buffer_, count);
    firstCounter_ += taken;
    ++secondCounter_;
    return taken > 0;
}

namespace {

// Where a seek leads; -1 beyond either end.
std::int64_t target(std::int64_t position, bool fromStart, std::size_t size) noexcept {
    const auto end = static_cast<std::int64_t>(size);
    if (position < -end || position > end) return -1;
    const std::int64_t result = fromStart ? position : end + position;
    return result < 0 || result > end ? -1 : result;
}

std::size_t copyOut(std::span<const std::uint8_t> bytes, std::int64_t& position, void* buffer,
                    std::size_t byteCount) noexcept {
    const auto rest = bytes.subspan(static_cast<std::size_t>(position));
    const std::size_t count = std::min(byteCount, rest.size());
    if (count > 0) std::memcpy(buffer, rest.data(), count);
    position += static_cast<std::int64_t>(count);
    return count;
}

}  // namespace

BinInputMemory::BinInputMemory(std::span<const std::uint8_t> bytes) : bytes_(bytes) {
    setLength(static_cast<std::int64_t>(bytes.size()));
}

std::size_t BinInputMemory::readRaw(void* buffer, std::size_t byteCount) {
    return isOpen_ ? copyOut(bytes_, position_, buffer, byteCount) : 0;
}

bool BinInputMemory::seek(std::int64_t position, bool fromStart) {
    const std::int64_t to = isOpen_ ? target(position, fromStart, bytes_.size()) : -1;
    if (to >= 0) position_ = to;
    return to >= 0;
}

std::size_t BinOutputMemory::writeRaw(const void* buffer, std::size_t byteCount) {
    if (!isOpen_ || byteCount == 0) return 0;
    const auto at = static_cast<std::size_t>(position_);
    if (bytes_.size() < at + byteCount) bytes_.resize(at + byteCount);
    std::memcpy(bytes_.data() + at, buffer, byteCount);
    position_ += static_cast<std::int64_t>(byteCount);
    return byteCount;
}

std::size_t BinOutputMemory::readRaw(void* buffer, std::size_t byteCount) {
    return isOpen_ && flushBuffer() ? copyOut(bytes_, position_, buffer, byteCount) : 0;
}

bool BinOutputMemory::seek(std::int64_t position, bool fromStart) {
    if (!isOpen_ || !flushBuffer()) return false;
    const std::int64_t to = target(position, fromStart, bytes_.size());
    if (to >= 0) position_ = to;
    return to >= 0;
}

void BinOutputMemory::close() {
    if (isOpen_) (void)flushBuffer();  // takes all there is memory for
    isOpen_ = false;
}
