// Conversion of whole runs of elements between memory and big-endian bytes.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace kel::detail {

inline constexpr std::size_t kMaxElementWidth = 8;

// Written with shifts: compilers make one instruction of it.
[[nodiscard]] constexpr std::uint16_t swapBytes(std::uint16_t v) noexcept {
    return static_cast<std::uint16_t>((v << 8) | (v >> 8));
}
[[nodiscard]] constexpr std::uint32_t swapBytes(std::uint32_t v) noexcept {
    return (v << 24) | ((v & 0xFF00U) << 8) | ((v >> 8) & 0xFF00U) | (v >> 24);
}
[[nodiscard]] constexpr std::uint64_t swapBytes(std::uint64_t v) noexcept {
    return (static_cast<std::uint64_t>(swapBytes(static_cast<std::uint32_t>(v))) << 32) |
           swapBytes(static_cast<std::uint32_t>(v >> 32));
}

template <class T>
[[nodiscard]] constexpr T bigEndian(T v) noexcept {
    if constexpr (std::endian::native == std::endian::big) return v;
    return swapBytes(v);
}

// The common widths: the element's own. Neither side need be aligned.
template <class U>
void copySwapped(const void* from, void* to, std::size_t count) noexcept {
    const auto* source = static_cast<const std::uint8_t*>(from);
    auto* target = static_cast<std::uint8_t*>(to);
    for (std::size_t i = 0; i < count; ++i) {
        U value;
        std::memcpy(&value, source + i * sizeof(U), sizeof(U));
        value = bigEndian(value);
        std::memcpy(target + i * sizeof(U), &value, sizeof(U));
    }
}

template <class T>
void decode(const std::uint8_t* bytes, T* elements, std::size_t width, std::size_t count) noexcept {
    if (width == sizeof(T)) return copySwapped<std::make_unsigned_t<T>>(bytes, elements, count);
    for (std::size_t i = 0; i < count; ++i, bytes += width) {
        std::uint64_t value = std::is_signed_v<T> && (bytes[0] & 0x80) != 0 ? ~std::uint64_t{0} : 0;
        for (std::size_t b = 0; b < width; ++b) value = (value << 8) | bytes[b];
        elements[i] = static_cast<T>(value);
    }
}

template <class T>
void encode(const T* elements, std::uint8_t* bytes, std::size_t width, std::size_t count) noexcept {
    if (width == sizeof(T)) return copySwapped<std::make_unsigned_t<T>>(elements, bytes, count);
    for (std::size_t i = 0; i < count; ++i, bytes += width) {
        auto value = static_cast<std::uint64_t>(static_cast<std::int64_t>(elements[i]));
        for (std::size_t b = width; b-- > 0; value >>= 8) bytes[b] = static_cast<std::uint8_t>(value);
    }
}

}  // namespace kel::detail
