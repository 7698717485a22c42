// Buffered binary streams over a medium that a subclass supplies. Numbers are stored most significant byte
// first, in as many bytes as the caller says; binnumbers.h transfers them. All bytes of those transfers pass
// through the process-wide scrambler, if there is one; the raw operations touch the medium itself.
//
// Nothing is read ahead: between two calls the medium stands after the last byte delivered. What is written
// gathers in the buffer; the medium's own position is behind by that much until the buffer is flushed.
//
// Failure: a transfer returns false when the medium delivers or takes nothing; what was transferred by then
// stays transferred. Threads: a stream belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

class BinInput {
public:
    static constexpr std::size_t kBufferSizeInBytes = 1024;  // of one transfer from the medium

    BinInput() = default;
    BinInput(const BinInput&) = delete;
    BinInput& operator=(const BinInput&) = delete;

    // 0.
    virtual ~BinInput() = default;
    // 1. Returns the bytes delivered, 0 at the end or on error.
    virtual std::size_t readRaw(void* buffer, std::size_t byteCount) = 0;
    // 2. The medium's position in bytes from its start; negative when it has none.
    [[nodiscard]] virtual std::int64_t tell() = 0;
    // 3. fromStart: the position counts from the start, else from the end.
    virtual bool seek(std::int64_t position, bool fromStart) = 0;
    // 4. Whether there is a medium and no error so far.
    [[nodiscard]] virtual bool good() const = 0;
    // 5. Ends the use of the medium; a second time does nothing.
    virtual void close() = 0;

    [[nodiscard]] std::int64_t length() const noexcept { return length_; }  // of the medium, in bytes

    // Whether readers may seek in the medium and rely on its length; on at first. Switched off for a medium
    // that is only read forward (a pipe, a socket): KelFileRead then skips by reading.
    [[nodiscard]] bool option() const noexcept { return option_; }
    void setOption(bool on) noexcept { option_ = on; }

    // The next bytes of the medium, unscrambled: as many as asked for, a buffer full or what the medium has,
    // whichever is least; empty at the end or on error. Lent until the next transfer.
    [[nodiscard]] std::span<const std::uint8_t> fetch(std::size_t max);

protected:
    // For the subclass, once it knows its medium's length in bytes.
    void setLength(std::int64_t length) noexcept { length_ = length; }

private:
    std::uint8_t buffer_[kBufferSizeInBytes] = {};
    std::int64_t length_ = 0;
    bool option_ = true;
};

// A stream to write to. What is written waits in a buffer until that is full or flushed.
class BinOutput {
public:
    static constexpr std::size_t kBufferSizeInBytes = 1024;  // of one transfer to the medium
    static constexpr std::size_t kFlushBelow =
        256;  // fewer free bytes than this are not worth a run of elements

    BinOutput() = default;
    BinOutput(const BinOutput&) = delete;
    BinOutput& operator=(const BinOutput&) = delete;

    // 0. A subclass whose medium shall have the waiting bytes flushes them in its own destructor.
    virtual ~BinOutput() = default;
    // 1. Brings everything to the medium.
    virtual bool flush() { return false; }
    // 2. Whether the medium is memory of this process: what is written there is gone with the process, and
    // flushing costs nothing.
    [[nodiscard]] virtual bool isInMemory() { return false; }
    // 3. and 4. Return the bytes taken and delivered.
    virtual std::size_t writeRaw(const void* buffer, std::size_t byteCount) = 0;
    virtual std::size_t readRaw(void* buffer, std::size_t byteCount) = 0;
    // 5. The medium's position, without the bytes that wait in the buffer.
    [[nodiscard]] virtual std::int64_t tell() = 0;
    // 6. to 8. As in BinInput.
    virtual bool seek(std::int64_t position, bool fromStart) = 0;
    [[nodiscard]] virtual bool good() const = 0;
    virtual void close() = 0;

    // Whether writers may seek in the medium; on at first. Switched off for a medium that only takes bytes
    // one after the other (a pipe, a socket): KelFileWrite, which writes lengths back, then fails to start.
    [[nodiscard]] bool option() const noexcept { return option_; }
    void setOption(bool on) noexcept { option_ = on; }

    // What left the buffer so far: the bytes that the medium took, and in how many transfers. Many transfers
    // of few bytes say that a writer seeks or flushes more than it needs to.
    [[nodiscard]] std::uint64_t firstCounter() const noexcept { return firstCounter_; }
    [[nodiscard]] std::uint64_t secondCounter() const noexcept { return secondCounter_; }

    // Room to write into the buffer directly: at most `max` bytes, at most what is free, and kFlushBelow
    // bytes at least if that many are asked for. Empty when the medium took nothing. The bytes count once
    // `commitDirect` says how many were written there; nothing else may be written in between.
    [[nodiscard]] std::span<std::uint8_t> directBuffer(std::size_t max);
    [[nodiscard]] bool commitDirect(std::size_t written);

    // Scrambles the waiting bytes and passes them to writeRaw. True when nothing waits or some bytes were
    // taken.
    [[nodiscard]] bool flushBuffer();

protected:
    // The bytes that wait in the buffer.
    [[nodiscard]] std::size_t pendingBytes() const noexcept { return pending_; }

private:
    std::uint8_t buffer_[kBufferSizeInBytes] = {};
    std::size_t pending_ = 0;
    std::uint64_t firstCounter_ = 0;
    std::uint64_t secondCounter_ = 0;
    bool option_ = true;
};

// Transforms bytes on their way to and from every medium, in place. What it does to a byte may depend on the
// byte's position in the medium and on nothing else, for chunks are cut differently when they are read back.
class BinIO_Scrambler {
public:
    // 0.
    virtual ~BinIO_Scrambler() = default;
    // 1. and 2. `position`: of the first byte, in the medium.
    virtual void scramble(void* buffer, std::int64_t position, std::size_t byteCount) = 0;
    virtual void unscramble(void* buffer, std::int64_t position, std::size_t byteCount) = 0;
};

namespace kel {

// One for the whole process, borrowed; null, which it is at first, for none. It hides the bytes from a casual
// look and does not protect them: this is no encryption. Not to be changed while streams
// are in use: their bytes would be half scrambled.
void setScrambler(BinIO_Scrambler* scrambler) noexcept;
[[nodiscard]] BinIO_Scrambler* scrambler() noexcept;

}  // namespace kel
