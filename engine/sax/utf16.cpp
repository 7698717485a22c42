#include "engine/sax/utf16.h"

#include <cstdint>
#include <cstring>

namespace engine::sax {
namespace {

constexpr std::size_t kBlock = 8;

bool isAscii(const char* eight) noexcept {
    std::uint64_t word;
    std::memcpy(&word, eight, kBlock);
    return (word & 0x8080808080808080u) == 0;
}

char32_t byteAt(const char* at, std::size_t i) noexcept {
    return static_cast<unsigned char>(at[i]);
}

}  // namespace

std::size_t convertValid(std::string_view utf8, char16_t* to) noexcept {
    const char* at = utf8.data();
    const char* const end = at + utf8.size();
    char16_t* out = to;
    while (at != end) {
        while (static_cast<std::size_t>(end - at) >= kBlock && isAscii(at)) {
            for (std::size_t i = 0; i < kBlock; ++i) out[i] = static_cast<unsigned char>(at[i]);
            at += kBlock;
            out += kBlock;
        }
        while (at != end && byteAt(at, 0) < 0x80) *out++ = static_cast<unsigned char>(*at++);
        while (at != end && byteAt(at, 0) >= 0x80) {
            const char32_t first = byteAt(at, 0);
            if (first < 0xE0) {
                *out++ = static_cast<char16_t>(((first & 0x1F) << 6) | (byteAt(at, 1) & 0x3F));
                at += 2;
            } else if (first < 0xF0) {
                *out++ = static_cast<char16_t>(((first & 0x0F) << 12) | ((byteAt(at, 1) & 0x3F) << 6) |
                                               (byteAt(at, 2) & 0x3F));
                at += 3;
            } else {
                const char32_t c = (((first & 0x07) << 18) | ((byteAt(at, 1) & 0x3F) << 12) |
                                    ((byteAt(at, 2) & 0x3F) << 6) | (byteAt(at, 3) & 0x3F)) -
                                   0x10000;
                *out++ = static_cast<char16_t>(0xD800 + (c >> 10));
                *out++ = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
                at += 4;
            }
        }
    }
    return static_cast<std::size_t>(out - to);
}

}  // namespace engine::sax
