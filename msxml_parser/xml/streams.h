// The standard library's streams and strings as the component's, for msxml_parser/xml.h.
// Threads: as the stream or string.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

#include "KelBasicTypes/binio.h"

namespace msxml_parser::detail {

// Reads a stream forwards from where it stands. Borrowed.
class StandardInput final : public BinInput {
public:
    explicit StandardInput(std::istream& stream) : stream_(stream) { setOption(false); }

    std::size_t readRaw(void* buffer, std::size_t byteCount) override {
        if (!stream_.good()) return 0;
        stream_.read(static_cast<char*>(buffer), static_cast<std::streamsize>(byteCount));
        return static_cast<std::size_t>(stream_.gcount());
    }
    [[nodiscard]] std::int64_t tell() override { return -1; }
    bool seek(std::int64_t /*position*/, bool /*fromStart*/) override { return false; }
    [[nodiscard]] bool good() const override { return !stream_.bad(); }
    void close() override {}

private:
    std::istream& stream_;
};

// Writes forwards: derived classes take the bytes.
class ForwardOutput : public BinOutput {
public:
    ForwardOutput() { setOption(false); }
    std::size_t readRaw(void* /*buffer*/, std::size_t /*byteCount*/) override { return 0; }
    [[nodiscard]] std::int64_t tell() override { return -1; }
    bool seek(std::int64_t /*position*/, bool /*fromStart*/) override { return false; }
    void close() override {}
};

// Borrowed.
class StandardOutput final : public ForwardOutput {
public:
    explicit StandardOutput(std::ostream& stream) : stream_(stream) {}

    bool flush() override { return flushBuffer() && stream_.flush().good(); }
    std::size_t writeRaw(const void* buffer, std::size_t byteCount) override {
        stream_.write(static_cast<const char*>(buffer), static_cast<std::streamsize>(byteCount));
        return stream_.good() ? byteCount : 0;
    }
    [[nodiscard]] bool good() const override { return stream_.good(); }

private:
    std::ostream& stream_;
};

class StringOutput final : public ForwardOutput {
public:
    bool flush() override { return flushBuffer(); }
    [[nodiscard]] bool isInMemory() override { return true; }
    std::size_t writeRaw(const void* buffer, std::size_t byteCount) override {
        bytes_.append(static_cast<const char*>(buffer), byteCount);
        return byteCount;
    }
    [[nodiscard]] bool good() const override { return true; }
    [[nodiscard]] std::string take() noexcept { return std::move(bytes_); }

private:
    std::string bytes_;
};

}  // namespace msxml_parser::detail
