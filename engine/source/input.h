// Where a document comes from, and how much of it is taken. Threads: plain values; what an input borrows
// belongs to the thread that reads it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace engine::source {

// Bytes that arrive as they are asked for. Implemented by the caller of `read`.
class ByteStream {
public:
    // Returns how many bytes were put at `to`: 0 at the end, or when the stream failed.
    [[nodiscard]] virtual std::size_t read(char* to, std::size_t count) = 0;
    [[nodiscard]] virtual bool hasFailed() const noexcept = 0;

protected:
    ~ByteStream() = default;
};

// Where a document comes from. Cheap to make: a file is opened by `read`, and only there can it fail.
class Input final {
public:
    enum class Kind : std::uint8_t { Bytes, Text, File, Stream, Rejected };

    // Borrowed bytes: the encoding is found from the byte-order mark and the XML declaration.
    [[nodiscard]] static Input bytes(std::string_view bytes) noexcept;
    // Borrowed UTF-16 text; a declared encoding is ignored, a leading U+FEFF is skipped.
    [[nodiscard]] static Input text(std::u16string_view text) noexcept;
    // A file, by its path as the system takes it. Read in chunks with ordinary reads, never mapped.
    [[nodiscard]] static Input file(std::string path);
    // Borrowed: the encoding is found as that of bytes. Its exceptions come out of `read`.
    [[nodiscard]] static Input stream(ByteStream& stream) noexcept;
    // A framework path (both separators recognised) or a `file:` URL. Any other URL makes an input that
    // `read` rejects.
    [[nodiscard]] static Input location(std::u16string_view pathOrUrl);

    [[nodiscard]] Kind kind() const noexcept { return kind_; }
    [[nodiscard]] std::string_view bytes() const noexcept { return bytes_; }
    [[nodiscard]] std::u16string_view text() const noexcept { return text_; }
    [[nodiscard]] ByteStream* stream() const noexcept { return stream_; }  // null for other kinds
    // The path of a file; for a rejected address the address itself, UTF-8.
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

private:
    Kind kind_ = Kind::Bytes;
    std::string_view bytes_;
    std::u16string_view text_;
    ByteStream* stream_ = nullptr;
    std::string path_;
};

struct SourceOptions {
    // Of the decoded document; longer ones are rejected.
    std::uint64_t lengthLimitInBytes = ~std::uint64_t{0};
    std::size_t chunkInBytes = std::size_t{32} << 10;  // read at a time
};

}  // namespace engine::source
