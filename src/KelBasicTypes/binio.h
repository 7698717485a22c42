// Buffered binary streams. Every multi-byte number is stored most significant byte first.
// Threads: a stream belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

// A medium to read from. Positions are in bytes and are relied upon.
class BinInput {
public:
    // 0.
    virtual ~BinInput() = default;
    // 1. Returns the bytes delivered, 0 at the end or on error.
    virtual std::size_t readRaw(void* buffer, std::size_t byteCount) = 0;
    // 2. The medium's position.
    [[nodiscard]] virtual std::int64_t tell() = 0;
    // 3. fromStart: the position counts from the start, else from the end.
    virtual bool seek(std::int64_t position, bool fromStart) = 0;
    // 4.
    [[nodiscard]] virtual bool good() const = 0;
    // 5.
    virtual void close() = 0;
};

// A medium to write to.
class BinOutput {
public:
    // 0.
    virtual ~BinOutput() = default;
    // 1.
    virtual bool flush() { return false; }
    // 2.
    [[nodiscard]] virtual bool reserved2() { return false; }
    // 3. and 4. Return the bytes taken and delivered.
    virtual std::size_t writeRaw(const void* buffer, std::size_t byteCount) = 0;
    virtual std::size_t readRaw(void* buffer, std::size_t byteCount) = 0;
    // 5. to 8. As in BinInput.
    [[nodiscard]] virtual std::int64_t tell() = 0;
    virtual bool seek(std::int64_t position, bool fromStart) = 0;
    [[nodiscard]] virtual bool good() const = 0;
    virtual void close() = 0;
};
