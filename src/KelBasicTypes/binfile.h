// Binary streams over files.
// A file that cannot be opened leaves the stream without one: reads deliver nothing, writes take nothing,
// good() returns false. Threads: one at a time for each stream.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

#include "KelBasicTypes/binio.h"

class KelString;

namespace kel {

// Owns a standard file handle.
struct FileStreamCloser {
    // Closes the file; what that reports is lost.
    void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
};
// A standard file handle that closes itself.
using FileStream = std::unique_ptr<std::FILE, FileStreamCloser>;

}  // namespace kel

class BinInputFile final : public BinInput {
public:
    explicit BinInputFile(const KelString& path);  // opened for reading
    explicit BinInputFile(std::FILE* file);  // takes ownership; null for none; stands at the start afterwards
    ~BinInputFile() override;

    std::size_t readRaw(void* buffer, std::size_t byteCount) override;
    [[nodiscard]] std::int64_t tell() override;
    bool seek(std::int64_t position, bool fromStart) override;
    [[nodiscard]] bool good() const override;
    void close() override;

private:
    kel::FileStream file_;  // null: none
};

// The bytes that wait in the buffer are written before the file is read, positioned, closed or destroyed. A
// caller that must know whether that worked calls flush() before.
class BinOutputFile final : public BinOutput {
public:
    explicit BinOutputFile(const KelString& path);  // created, or emptied
    explicit BinOutputFile(std::FILE* file);        // takes ownership; null for none
    ~BinOutputFile() override;

    // What waits is then written; of a file opened by its name the contents are on the disk, too, not just
    // with the operating system, which is slow. False when that fails, or something since the last flush was
    // not written whole; other errors of the past do not count.
    bool flush() override;
    std::size_t writeRaw(const void* buffer, std::size_t byteCount) override;
    std::size_t readRaw(void* buffer, std::size_t byteCount) override;
    [[nodiscard]] std::int64_t tell() override;
    bool seek(std::int64_t position, bool fromStart) override;
    [[nodiscard]] bool good() const override;
    void close() override;

private:
    enum class Direction { None, Read, Write };
    void turnTo(Direction direction) noexcept;

    kel::FileStream file_;  // null: none
    bool isCommitted_;      // by each flush; a wrapped file is its opener's affair
    bool hasLost_ = false;  // bytes, since the last flush
    Direction direction_ = Direction::None;
};
