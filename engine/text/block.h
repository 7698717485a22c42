// Eight units at a time between bytes and UTF-16, while they are ASCII: the one place of this folder that
// knows of vector instructions. The portable one is compiled everywhere: a test holds the two against each
// other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace engine::text {

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

}  // namespace engine::text
