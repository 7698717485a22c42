// The bytes of an Input, read in order, as often as need be. What can be read only once (a pipe) is kept in
// an unnamed temporary file as it goes by.
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
    [[nodiscard]] const Input& input() const noexcept { return input_; }

    // Fills `to` as far as there are bytes: fewer than asked for only at the end or when the system fails.
    [[nodiscard]] std::size_t read(char* to, std::size_t count);
    [[nodiscard]] const Fault& fault() const noexcept { return fault_; }  // of `read`; without an offset

private:
    struct Closer {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };
    using File = std::unique_ptr<std::FILE, Closer>;

    [[nodiscard]] Fault systemFault(ErrorCode code, int error) const;
    [[nodiscard]] Fault startOver();
    [[nodiscard]] Fault openKept();
    [[nodiscard]] std::size_t readBorrowed(char* to, std::size_t count) noexcept;
    [[nodiscard]] std::size_t readFile(char* to, std::size_t count);
    [[nodiscard]] std::size_t readKept(char* to, std::size_t count);
    void keep(const char* from, std::size_t count);

    const Input& input_;
    File file_;
    File kept_;                  // only if the file cannot be read twice; holds all that has come so far
    std::size_t position_ = 0;   // in borrowed or kept bytes
    std::size_t keptBytes_ = 0;  // how many bytes `kept_` holds
    Fault fault_;
};

}  // namespace engine::reader::detail
