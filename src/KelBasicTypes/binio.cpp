#include "KelBasicTypes/binio.h"

#include <algorithm>
#include <atomic>

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

std::span<const std::uint8_t> BinInput::fetch(std::size_t most) {
    BinIO_Scrambler* const scrambler = kel::scrambler();
    const std::int64_t position = scrambler != nullptr ? tell() : 0;
    const std::size_t got =
        std::min(readRaw(buffer_, std::min(most, kBufferSizeInBytes)), kBufferSizeInBytes);
    if (scrambler != nullptr && got > 0) scrambler->unscramble(buffer_, position, got);
    return {buffer_, got};
}

std::span<std::uint8_t> BinOutput::directBuffer(std::size_t most) {
    if (kBufferSizeInBytes - pending_ < kFlushBelow && !flushBuffer()) return {};
    return {buffer_ + pending_, std::min(most, kBufferSizeInBytes - pending_)};
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
