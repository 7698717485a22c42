// Sixteen bytes, or eight units of UTF-16, at a time: the one place that knows of vector instructions. A mask
// has one bit a byte, the first byte in the lowest bit. The portable forms are compiled everywhere: tests
// compare each pair. Threads: plain values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace engine::text {

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
    // Bytes that are the same in both.
    [[nodiscard]] std::uint32_t equal(const PortableBlock& other) const noexcept {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < kBlock; ++i) bits |= std::uint32_t{bytes_[i] == other.bytes_[i]} << i;
        return bits;
    }
    // Bytes up to and including `c`, none of them above 0x7F.
    [[nodiscard]] std::uint32_t upTo(unsigned char c) const noexcept {
        return mask([c](unsigned char byte) { return byte <= c; });
    }
    // The bytes at which plain text ends: markup, references, the '>' of "]]>", the NUL after the text.
    [[nodiscard]] std::uint32_t textStops() const noexcept {
        return mask([](unsigned char b) { return b == '<' || b == '&' || b == '>' || b == 0; });
    }
    // The same in the value of an attribute: white space other than spaces ends it, too.
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
    [[nodiscard]] std::uint32_t equal(const Sse2Block& other) const noexcept {
        return bits(_mm_cmpeq_epi8(bytes_, other.bytes_));
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
        const __m128i below = _mm_cmplt_epi8(bytes_, _mm_set1_epi8(' '));  // as signed bytes: non-ASCII, too
        return _mm_andnot_si128(layout, below);
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

// Units of UTF-16, and the bytes of ASCII text that they come from and go to.
class PortableUnits final {
public:
    static constexpr std::size_t kCount = 8;

    [[nodiscard]] static PortableUnits widened(const char* bytes) noexcept {
        PortableUnits units;
        for (std::size_t i = 0; i < kCount; ++i) units.units_[i] = static_cast<unsigned char>(bytes[i]);
        return units;
    }
    [[nodiscard]] static PortableUnits load(const char16_t* from) noexcept {
        PortableUnits units;
        std::memcpy(units.units_, from, sizeof units.units_);
        return units;
    }
    void store(char16_t* to) const noexcept { std::memcpy(to, units_, sizeof units_); }
    void storeNarrowed(char* to) const noexcept {  // ASCII only
        for (std::size_t i = 0; i < kCount; ++i) to[i] = static_cast<char>(units_[i]);
    }
    // Those of `high` after them.
    void storeNarrowed(const PortableUnits& high, char* to) const noexcept {
        storeNarrowed(to);
        high.storeNarrowed(to + kCount);
    }
    // Two halves, of four units each.
    [[nodiscard]] static PortableUnits load(const char16_t* low, const char16_t* high) noexcept {
        PortableUnits units;
        std::memcpy(units.units_, low, sizeof units.units_ / 2);
        std::memcpy(units.units_ + kCount / 2, high, sizeof units.units_ / 2);
        return units;
    }
    void storeNarrowed(char* low, char* high) const noexcept {
        char bytes[kCount];
        storeNarrowed(bytes);
        std::memcpy(low, bytes, kCount / 2);
        std::memcpy(high, bytes + kCount / 2, kCount / 2);
    }
    [[nodiscard]] bool isAscii() const noexcept {
        unsigned all = 0;
        for (const char16_t unit : units_) all |= unit;
        return all < 0x80;
    }
    [[nodiscard]] PortableUnits operator|(const PortableUnits& other) const noexcept {
        PortableUnits either = *this;
        for (std::size_t i = 0; i < kCount; ++i)
            either.units_[i] = static_cast<char16_t>(either.units_[i] | other.units_[i]);
        return either;
    }

private:
    char16_t units_[kCount];
};

#if defined(__SSE2__)
class Sse2Units final {
public:
    static constexpr std::size_t kCount = 8;

    [[nodiscard]] static Sse2Units widened(const char* bytes) noexcept {
        const __m128i half = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes));
        return Sse2Units(_mm_unpacklo_epi8(half, _mm_setzero_si128()));
    }
    [[nodiscard]] static Sse2Units load(const char16_t* from) noexcept {
        return Sse2Units(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
    }
    void store(char16_t* to) const noexcept { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), units_); }
    void storeNarrowed(char* to) const noexcept {  // ASCII only
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(units_, units_));
    }
    void storeNarrowed(const Sse2Units& high, char* to) const noexcept {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(units_, high.units_));
    }
    // Two halves, of four units each.
    [[nodiscard]] static Sse2Units load(const char16_t* low, const char16_t* high) noexcept {
        return Sse2Units(_mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(low)),
                                            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(high))));
    }
    void storeNarrowed(char* low, char* high) const noexcept {
        const __m128i packed = _mm_packus_epi16(units_, units_);
        const int first = _mm_cvtsi128_si32(packed);
        const int second = _mm_cvtsi128_si32(_mm_srli_si128(packed, 4));
        std::memcpy(low, &first, sizeof first);
        std::memcpy(high, &second, sizeof second);
    }
    [[nodiscard]] bool isAscii() const noexcept {
        const __m128i above = _mm_and_si128(units_, _mm_set1_epi16(static_cast<short>(0xFF80)));
        return _mm_movemask_epi8(_mm_cmpeq_epi16(above, _mm_setzero_si128())) == 0xFFFF;
    }
    [[nodiscard]] Sse2Units operator|(const Sse2Units& other) const noexcept {
        return Sse2Units(_mm_or_si128(units_, other.units_));
    }

private:
    explicit Sse2Units(__m128i units) noexcept : units_(units) {}
    __m128i units_;
};
using Units = Sse2Units;
#else
using Units = PortableUnits;
#endif

// Copies units, few of them without a call: in pieces, the last of which overlaps the one before.
inline void copyUnits(const char16_t* from, std::size_t count, char16_t* to) noexcept {
    constexpr std::size_t kMany = 64;
    constexpr std::size_t kHalf = Units::kCount / 2;
    if (count > kMany) {
        std::memcpy(to, from, count * sizeof(char16_t));
    } else if (count >= Units::kCount) {
        const std::size_t last = count - Units::kCount;
        for (std::size_t at = 0; at < last; at += Units::kCount) Units::load(from + at).store(to + at);
        Units::load(from + last).store(to + last);
    } else if (count >= kHalf) {
        std::memcpy(to, from, kHalf * sizeof(char16_t));
        std::memcpy(to + count - kHalf, from + count - kHalf, kHalf * sizeof(char16_t));
    } else {
        for (std::size_t i = 0; i < count; ++i) to[i] = from[i];
    }
}

}  // namespace engine::text
