// Numbers and records to and from binary streams. Threads: those of the stream.
//
// An element takes `width` bytes in the stream, 1 to 8 whatever its type: the lowest bytes of its value, most
// significant first, are written. Read back, a signed element takes its sign from the top bit of the first
// byte, and an unsigned one has zeros above.
//
// Each returns whether all elements were transferred; also false, and nothing done, for a width out of range.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "KelBasicTypes/binio.h"

namespace kel {

// `count` elements in a row.
[[nodiscard]] bool readNumbers(BinInput& in, std::int16_t* elements, std::size_t width, std::size_t count);
[[nodiscard]] bool readNumbers(BinInput& in, std::uint16_t* elements, std::size_t width, std::size_t count);
[[nodiscard]] bool readNumbers(BinInput& in, std::int32_t* elements, std::size_t width, std::size_t count);
[[nodiscard]] bool readNumbers(BinInput& in, std::uint32_t* elements, std::size_t width, std::size_t count);
[[nodiscard]] bool readNumbers(BinInput& in, std::int64_t* elements, std::size_t width, std::size_t count);
[[nodiscard]] bool readNumbers(BinInput& in, std::uint64_t* elements, std::size_t width, std::size_t count);

// `count` elements in a row.
[[nodiscard]] bool writeNumbers(BinOutput& out, const std::int16_t* elements, std::size_t width,
                                std::size_t count);
[[nodiscard]] bool writeNumbers(BinOutput& out, const std::uint16_t* elements, std::size_t width,
                                std::size_t count);
[[nodiscard]] bool writeNumbers(BinOutput& out, const std::int32_t* elements, std::size_t width,
                                std::size_t count);
[[nodiscard]] bool writeNumbers(BinOutput& out, const std::uint32_t* elements, std::size_t width,
                                std::size_t count);
[[nodiscard]] bool writeNumbers(BinOutput& out, const std::int64_t* elements, std::size_t width,
                                std::size_t count);
[[nodiscard]] bool writeNumbers(BinOutput& out, const std::uint64_t* elements, std::size_t width,
                                std::size_t count);

// Records of any width, byte for byte.
[[nodiscard]] bool readRecords(BinInput& in, void* records, std::size_t width, std::size_t count);
[[nodiscard]] bool writeRecords(BinOutput& out, const void* records, std::size_t width, std::size_t count);

}  // namespace kel

// A version in one word: the major number above the low 8 bits, the minor number in them. A negative major is
// the word itself.
class BinIO_Version final {
public:
    constexpr BinIO_Version() noexcept = default;
    // From the word, or from its two parts.
    constexpr explicit BinIO_Version(std::int32_t word) noexcept : word_(word) {}
    constexpr BinIO_Version(std::int32_t major, std::int32_t minor) noexcept
        : word_(major < 0 ? major
                          : static_cast<std::int32_t>(static_cast<std::uint32_t>(major) << 8) | minor) {}

    // The word as it stands in streams, and its two parts. A negative word has the major number -1.
    [[nodiscard]] constexpr std::int32_t word() const noexcept { return word_; }
    [[nodiscard]] constexpr std::int32_t majorNumber() const noexcept { return word_ < 0 ? -1 : word_ >> 8; }
    [[nodiscard]] constexpr std::int32_t minorNumber() const noexcept { return word_ & 0xFF; }
    // Same major number.
    [[nodiscard]] constexpr bool isCompatibleWith(BinIO_Version other) const noexcept {
        return (word_ & ~0xFF) == (other.word_ & ~0xFF);
    }
    friend constexpr bool operator==(BinIO_Version, BinIO_Version) noexcept = default;

private:
    std::int32_t word_ = 0;
};

std::ostream& operator<<(std::ostream& out, BinIO_Version version);  // major, a space, minor

namespace kel {

// One word of 4 bytes. `magic` becomes what was read, whether or not it is what was expected; a difference
// raises an assertion. False when the stream ends before.
bool readMagic(BinInput& in, std::int32_t expected, std::int32_t& magic);

// Whether the next word is a version of the same major number, or the very version.
[[nodiscard]] bool readCompatibleVersion(BinInput& in, BinIO_Version expected);
[[nodiscard]] bool readIdenticalVersion(BinInput& in, BinIO_Version expected);

[[nodiscard]] bool writeWord(BinOutput& out, std::int32_t word);  // a magic word, or the word of a version

// The next word, which stays unread; -1 when there is none.
[[nodiscard]] std::int32_t peekWord(BinInput& in);

}  // namespace kel
