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
    void store(char* to) const noexcept { std::memcpy(to, bytes_, kBlock); }
    [[nodiscard]] std::uint32_t equal(char c) const noexcept {
        std::uint32_t mask = 0;
        for (std::size_t i = 0; i < kBlock; ++i)
            mask |= std::uint32_t{bytes_[i] == static_cast<signed char>(c)} << i;
        return mask;
    }
    [[nodiscard]] std::uint32_t above(signed char c) const noexcept {
        std::uint32_t mask = 0;
        for (std::size_t i = 0; i < kBlock; ++i) mask |= std::uint32_t{bytes_[i] > c} << i;
        return mask;
    }

private:
    signed char bytes_[kBlock];
};

#if defined(__SSE2__)
class Sse2Block final {
public:
    [[nodiscard]] static Sse2Block load(const char* from) noexcept {
        Sse2Block block;
        block.bytes_ = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        return block;
    }
    void store(char* to) const noexcept { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes_); }
    [[nodiscard]] std::uint32_t equal(char c) const noexcept {
        return bits(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c)));
    }
    // Bytes compare as signed: everything above 0x7F is less than zero.
    [[nodiscard]] std::uint32_t above(signed char c) const noexcept {
        return bits(_mm_cmpgt_epi8(bytes_, _mm_set1_epi8(c)));
    }

private:
    static std::uint32_t bits(__m128i v) noexcept { return static_cast<std::uint32_t>(_mm_movemask_epi8(v)); }
    __m128i bytes_;
};
using Block = Sse2Block;
#else
using Block = PortableBlock;
#endif

}  // namespace engine::reader::detail
