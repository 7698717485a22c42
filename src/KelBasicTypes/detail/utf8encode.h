// The encoder behind toUtf8, for any sink of bytes, so that it also works where nothing can be allocated.
#pragma once

#include <cstddef>
#include <string_view>

namespace kel::detail {

// A sink with room for N bytes; `isComplete` turns false when more are put in.
template <std::size_t N>
struct BoundedBytes {
    void push_back(char byte) noexcept {
        isComplete = isComplete && size < N;
        if (isComplete) bytes[size++] = byte;
    }

    char bytes[N];
    std::size_t size = 0;
    bool isComplete = true;
};

template <class Sink>
void appendCode(Sink& out, char32_t code) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (code < 0x80) return put(code);
    if (code < 0x800) {
        put(0xC0 | (code >> 6));
    } else {
        if (code < 0x10000) {
            put(0xE0 | (code >> 12));
        } else {
            put(0xF0 | (code >> 18));
            put(0x80 | ((code >> 12) & 0x3F));
        }
        put(0x80 | ((code >> 6) & 0x3F));
    }
    put(0x80 | (code & 0x3F));
}

// A surrogate without its partner becomes the three bytes of its own code.
template <class Sink>
void appendUtf8(Sink& out, std::u16string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t code = text[at];
        const bool isPair =
            (code & 0xFC00) == 0xD800 && at + 1 < text.size() && (text[at + 1] & 0xFC00) == 0xDC00;
        if (isPair) code = 0x10000 + ((code - 0xD800) << 10) + (text[++at] - 0xDC00U);
        appendCode(out, code);
    }
}

}  // namespace kel::detail
