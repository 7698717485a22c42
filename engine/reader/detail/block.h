// Sixteen bytes at a time: the one place that knows of vector instructions.
// A mask has one bit a byte, the first byte in the lowest bit. The portable one is compiled everywhere: a
// test holds the two against each other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace engine::reader::detail {

inline constexpr std::size_t kBlock = 16;

class PortableBlock final {
public:
    [[nodiscard]] static PortableBlock load(const char* from) noexcept {
        PortableBlock block;
        std::memcpy(block.bytes_, from, kBlock);
        return block;
    }
    [[nodiscard]] std::uint32_t equal(char c) const noexcept {
        return mask([c](unsigned char byte) { return byte == static_cast<unsigned char>(c); });
    }
    // Bytes up to and including `c`, none of them above 0x7F.
    [[nodiscard]] std::uint32_t upTo(unsigned char c) const noexcept {
        return mask([c](unsigned char byte) { return byte <= c; });
    }
    // The bytes at which plain text ends: markup, references, the '>' of "]]>", the NUL after the text.
    [[nodiscard]] std::uint32_t textStops() const noexcept {
        return mask([](unsigned char b) { return b == '<' || b == '&' || b == '>' || b == 0; });
    }
    // The same in the value of an attribute: white space other than blanks ends it, too.
    [[nodiscard]] std::uint32_t valueStops(char quote) const noexcept {
        const auto q = static_cast<unsigned char>(quote);
        return mask([q](unsigned char b) { return b == q || b == '<' || b == '&' || b < 0x20; });
    }
    // Everything but printable ASCII, tabs and line feeds (and U+007F).
    [[nodiscard]] std::uint32_t suspects() const noexcept {
        return mask([](unsigned char b) { return b >= 0x80 || (b < 0x20 && b != '\t' && b != '\n'); });
    }
    // Are there any in the four blocks from `from` on?
    [[nodiscard]] static bool hasSuspectsInFour(const char* from) noexcept {
        std::uint32_t all = 0;
        for (std::size_t i = 0; i < 4; ++i) all |= load(from + i * kBlock).suspects();
        return all != 0;
    }
    // Bytes that continue a character of UTF-8.
    [[nodiscard]] std::uint32_t continuations() const noexcept {
        return mask([](unsigned char byte) { return (byte & 0xC0) == 0x80; });
    }

private:
    template <typename Is>
    [[nodiscard]] std::uint32_t mask(Is is) const noexcept {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < kBlock; ++i) bits |= std::uint32_t{is(bytes_[i])} << i;
        return bits;
    }
    unsigned char bytes_[kBlock];
};

#if defined(__SSE2__)
class Sse2Block final {
public:
    [[nodiscard]] static Sse2Block load(const char* from) noexcept {
        Sse2Block block;
        block.bytes_ = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        return block;
    }
    [[nodiscard]] std::uint32_t equal(char c) const noexcept {
        return bits(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c)));
    }
    [[nodiscard]] std::uint32_t upTo(unsigned char c) const noexcept {
        return bits(_mm_cmpeq_epi8(_mm_min_epu8(bytes_, _mm_set1_epi8(static_cast<char>(c))), bytes_));
    }
    [[nodiscard]] std::uint32_t textStops() const noexcept {
        return bits(_mm_or_si128(_mm_or_si128(is('<'), is('&')), _mm_or_si128(is('>'), is('\0'))));
    }
    [[nodiscard]] std::uint32_t valueStops(char quote) const noexcept {
        return bits(_mm_or_si128(_mm_or_si128(is('<'), is('&')), _mm_or_si128(is(quote), isControl())));
    }
    [[nodiscard]] std::uint32_t suspects() const noexcept { return bits(suspectBytes()); }
    [[nodiscard]] static bool hasSuspectsInFour(const char* from) noexcept {
        const __m128i front = _mm_or_si128(load(from).suspectBytes(), load(from + kBlock).suspectBytes());
        const __m128i back =
            _mm_or_si128(load(from + 2 * kBlock).suspectBytes(), load(from + 3 * kBlock).suspectBytes());
        return bits(_mm_or_si128(front, back)) != 0;
    }
    [[nodiscard]] std::uint32_t continuations() const noexcept {
        return bits(_mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(0xC0)), bytes_));  // as signed bytes
    }

private:
    [[nodiscard]] __m128i suspectBytes() const noexcept {
        const __m128i layout = _mm_or_si128(is('\t'), is('\n'));
        return _mm_or_si128(_mm_andnot_si128(layout, isControl()), bytes_);
    }
    [[nodiscard]] __m128i is(char c) const noexcept { return _mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c)); }
    [[nodiscard]] __m128i isControl() const noexcept {
        return _mm_cmpeq_epi8(_mm_min_epu8(bytes_, _mm_set1_epi8(0x1F)), bytes_);
    }
    static std::uint32_t bits(__m128i v) noexcept { return static_cast<std::uint32_t>(_mm_movemask_epi8(v)); }
    __m128i bytes_;
};
using Block = Sse2Block;
#else
using Block = PortableBlock;
#endif

}  // namespace engine::reader::detail
