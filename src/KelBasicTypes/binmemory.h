// Binary streams over memory: what a file would hold, without the file. Threads: as every stream.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "KelBasicTypes/binio.h"

class BinInputMemory final : public BinInput {
public:
    explicit BinInputMemory(std::span<const std::uint8_t> bytes);  // borrowed for the stream's life

    std::size_t readRaw(void* buffer, std::size_t byteCount) override;
    [[nodiscard]] std::int64_t tell() override { return position_; }
    bool seek(std::int64_t position, bool fromStart) override;  // false, unmoved, beyond either end
    [[nodiscard]] bool good() const override { return isOpen_; }
    void close() override { isOpen_ = false; }

private:
    std::span<const std::uint8_t> bytes_;
    std::int64_t position_ = 0;
    bool isOpen_ = true;
};

// Grows as it is written to. std::bad_alloc, which a write lets out, leaves it as it was.
class BinOutputMemory final : public BinOutput {
public:
    BinOutputMemory() = default;

    bool flush() override { return isOpen_ && flushBuffer(); }
    [[nodiscard]] bool isInMemory() override { return true; }
    std::size_t writeRaw(const void* buffer, std::size_t byteCount) override;
    std::size_t readRaw(void* buffer, std::size_t byteCount) override;
    [[nodiscard]] std::int64_t tell() override { return position_; }
    bool seek(std::int64_t position, bool fromStart) override;  // false, unmoved, beyond either end
    [[nodiscard]] bool good() const override { return isOpen_; }
    void close() override;  // what was written stays

    // What was flushed so far; borrowed until the stream changes.
    [[nodiscard]] const std::vector<std::uint8_t>& bytes() const noexcept { return bytes_; }

private:
    std::vector<std::uint8_t> bytes_;
    std::int64_t position_ = 0;  // 0 to bytes_.size()
    bool isOpen_ = true;
};
