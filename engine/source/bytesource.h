// The bytes of an Input, read once and in order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/source/errors.h"
#include "engine/source/input.h"

namespace engine::source {

class ByteSource final {
public:
    explicit ByteSource(const Input& input) noexcept : input_(input) {}  // borrowed
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;
    ~ByteSource();

    // Opens the file, if it is one.
    [[nodiscard]] Fault open();
    [[nodiscard]] const Input& input() const noexcept { return input_; }
    // How many bytes there will probably be; 0 if that cannot be known. Before any is read.
    [[nodiscard]] std::uint64_t expectedBytes() noexcept;

    // Fills `to` as far as there are bytes: fewer than asked for only at the end or when the system fails.
    [[nodiscard]] std::size_t read(char* to, std::size_t count);
    [[nodiscard]] const Fault& fault() const noexcept { return fault_; }  // of `read`; without an offset

private:
    [[nodiscard]] std::size_t readStream(char* to, std::size_t count);
    [[nodiscard]] Fault systemFault(ErrorCode code, int error) const;

    const Input& input_;
    int file_ = -1;
    std::uint64_t position_ = 0;
    std::uint64_t expected_ = 0;  // of a file; 0: not known
    Fault fault_;
};

}  // namespace engine::source
