// The bytes of an Input, read in order.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>

#include "engine/reader/detail/fault.h"
#include "engine/reader/reader.h"

namespace engine::reader::detail {

class ByteSource final {
public:
    explicit ByteSource(const Input& input) noexcept : input_(input) {}  // borrowed

    // Opens the file, if it is one, and starts at its first byte; may be called again to start over.
    [[nodiscard]] Fault open();
    [[nodiscard]] bool isRewindable() const noexcept { return rewindable_; }
    [[nodiscard]] const Input& input() const noexcept { return input_; }

    // Fills `to` as far as there are bytes: fewer than asked for only at the end or when the system fails.
    [[nodiscard]] std::size_t read(char* to, std::size_t count);
    [[nodiscard]] const Fault& fault() const noexcept { return fault_; }  // of `read`; without an offset

private:
    struct Closer {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };
    [[nodiscard]] Fault systemFault(ErrorCode code, int error) const;

    const Input& input_;
    std::unique_ptr<std::FILE, Closer> file_;
    std::size_t position_ = 0;  // in borrowed bytes
    bool rewindable_ = true;
    Fault fault_;
};

}  // namespace engine::reader::detail
