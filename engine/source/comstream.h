// A COM stream as bytes for the reader.
#pragma once

#include <algorithm>
#include <limits>

#include "engine/com/com.h"
#include "engine/source/input.h"

namespace engine::source {

// Borrows the stream. Threads: as the stream.
class ComByteStream final : public ByteStream {
public:
    explicit ComByteStream(ISequentialStream& stream) noexcept : stream_(stream) {}

    std::size_t read(char* to, std::size_t count) override {
        constexpr std::size_t kMax = std::numeric_limits<ULONG>::max();
        if (hasFailed_) return 0;
        const auto asked = static_cast<ULONG>(std::min(count, kMax));
        ULONG given = 0;
        hasFailed_ = FAILED(stream_.Read(to, asked, &given));
        return hasFailed_ ? 0 : std::min(given, asked);
    }
    bool hasFailed() const noexcept override { return hasFailed_; }

private:
    ISequentialStream& stream_;
    bool hasFailed_ = false;
};

}  // namespace engine::source
