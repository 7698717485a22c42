// A stream that only takes bytes, one after the other: the base of those that the component writes to.
// Threads: as every stream.
#pragma once

#include <string_view>

#include "KelBasicTypes/binio.h"

namespace kelxml {

class Sink : public BinOutput {
public:
    Sink() { setOption(false); }

    bool flush() override { return flushBuffer(); }
    std::size_t writeRaw(const void* buffer, std::size_t byteCount) final {
        take({static_cast<const char*>(buffer), byteCount});
        position_ += static_cast<std::int64_t>(byteCount);
        return byteCount;
    }
    std::size_t readRaw(void* /*buffer*/, std::size_t /*byteCount*/) final { return 0; }
    [[nodiscard]] std::int64_t tell() final { return position_; }
    bool seek(std::int64_t /*position*/, bool /*fromStart*/) final { return false; }
    [[nodiscard]] bool good() const final { return true; }
    void close() final {}

private:
    // All of it, or an exception, which the component lets through.
    virtual void take(std::string_view bytes) = 0;

    std::int64_t position_ = 0;
};

}  // namespace kelxml
