// Both directions go the same way: blocks of characters at once while they are ASCII, one character by hand
// where they are not.
#include "engine/text/utf.h"

#include <cstdint>
#include <cstring>

#include "engine/text/block.h"

namespace engine::text {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isAsciiBlock(const char* bytes) noexcept {
    std::uint64_t words[2];
    std::memcpy(words, bytes, kBlock);
    return ((words[0] | words[1]) & 0x8080808080808080u) == 0;
}

bool isAsciiBlock(const char16_t* units) noexcept {
    std::uint64_t words[4];
    std::memcpy(words, units, kBlock * sizeof(char16_t));
    return ((words[0] | words[1] | words[2] | words[3]) & 0xFF80FF80FF80FF80u) == 0;
}

bool isContinuation(char byte) noexcept {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}
bool isHighSurrogate(char32_t c) noexcept {
    return (c & 0xFFFFFC00) == 0xD800;
}
bool isLowSurrogate(char32_t c) noexcept {
    return (c & 0xFFFFFC00) == 0xDC00;
}

// Length of the sequence that starts with `lead`, by its highest four bits.
std::size_t sequenceLength(unsigned char lead) noexcept {
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// The character at `at`, which is moved past it; a byte that starts no whole sequence counts by itself.
char32_t decode(const char*& at, const char* end) noexcept {
    const auto lead = static_cast<unsigned char>(*at);
    const std::size_t length = sequenceLength(lead);
    const bool whole = length != 0 && static_cast<std::size_t>(end - at) >= length;
    char32_t c = length < 2 ? lead : lead & (0x7Fu >> length);
    bool valid = whole;
    for (std::size_t i = 1; valid && i < length; ++i) {
        valid = isContinuation(at[i]);
        c = (c << 6) | (static_cast<unsigned char>(at[i]) & 0x3Fu);
    }
    if (length == 3) valid = valid && c >= 0x800;
    if (length == 4) valid = valid && c >= 0x10000 && c <= 0x10FFFF;
    at += valid ? length : 1;
    return valid ? c : kReplacement;
}

// The character at `at`, which is moved past it; an unpaired surrogate is given as it is.
char32_t decode(const char16_t*& at, const char16_t* end) noexcept {
    const char32_t first = *at++;
    if (!isHighSurrogate(first) || at == end || !isLowSurrogate(*at)) return first;
    return 0x10000 + ((first & 0x3FF) << 10) + (*at++ & 0x3FFu);
}

char* encode(char32_t c, char* out) noexcept {
    if (c < 0x80) {
        *out++ = static_cast<char>(c);
    } else if (c < 0x800) {
        *out++ = static_cast<char>(0xC0 | (c >> 6));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (c >> 12));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (c >> 18));
        *out++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *out++ = static_cast<char>(0x80 | (c & 0x3F));
    }
    return out;
}

char16_t* encode(char32_t c, char16_t* out) noexcept {
    if (c < 0x10000) {
        *out++ = static_cast<char16_t>(c);
    } else {
        *out++ = static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
        *out++ = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    }
    return out;
}

template <typename Word>
Word loadWord(const void* from) noexcept {
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

// Texts of fewer than sixteen units are the most frequent ones. If `from` is one and ASCII, converts it, in
// two pieces that may overlap, and returns true; else writes nothing.
bool widenShort(std::string_view from, char16_t* out) noexcept {
    const std::size_t size = from.size();
    if (size >= kBlock) return false;
    if (size >= Units::kCount) {
        const std::size_t second = size - Units::kCount;
        const Units low = Units::widened(from.data());
        const Units high = Units::widened(from.data() + second);
        if (!(low | high).isAscii()) return false;
        low.store(out);
        high.store(out + second);
        return true;
    }
    std::uint32_t bits = 0;
    if (size >= 4) {
        bits = loadWord<std::uint32_t>(from.data()) | loadWord<std::uint32_t>(from.data() + size - 4);
    } else {
        for (const char byte : from) bits |= static_cast<unsigned char>(byte);
    }
    if ((bits & 0x80808080u) != 0) return false;
    for (std::size_t i = 0; i < size; ++i) out[i] = static_cast<unsigned char>(from[i]);
    return true;
}

// The other way, for fewer than eight units; UTF-8 is never shorter than UTF-16, so that there is room.
// False: what was written is to be overwritten.
bool narrowShort(std::u16string_view from, char* out) noexcept {
    const std::size_t size = from.size();
    if (size >= Units::kCount) return false;
    if (size >= Units::kCount / 2) {
        const std::size_t second = size - Units::kCount / 2;
        const Units units = Units::load(from.data(), from.data() + second);
        units.storeNarrowed(out, out + second);
        return units.isAscii();
    }
    unsigned bits = 0;
    for (std::size_t i = 0; i < size; ++i) {
        out[i] = static_cast<char>(from[i]);
        bits |= from[i];
    }
    return bits < 0x80;
}

constexpr std::size_t kShortBlock = 8;

bool isAsciiShortBlock(const char* eight) noexcept {
    std::uint64_t word;
    std::memcpy(&word, eight, kShortBlock);
    return (word & 0x8080808080808080u) == 0;
}

char32_t byteAt(const char* at, std::size_t i) noexcept {
    return static_cast<unsigned char>(at[i]);
}

}  // namespace

std::size_t utf16Length(std::string_view utf8) noexcept {
    const char* at = utf8.data();
    const char* const end = at + utf8.size();
    std::size_t length = 0;
    while (at != end) {
        while (static_cast<std::size_t>(end - at) >= kBlock && isAsciiBlock(at)) {
            at += kBlock;
            length += kBlock;
        }
        const char* const stop = static_cast<std::size_t>(end - at) >= kBlock ? at + kBlock : end;
        while (at < stop) {
            if (static_cast<unsigned char>(*at) < 0x80) {
                ++at;
                ++length;
            } else {
                length += decode(at, end) < 0x10000 ? 1 : 2;
            }
        }
    }
    return length;
}

std::size_t utf8Length(std::u16string_view utf16) noexcept {
    const char16_t* at = utf16.data();
    const char16_t* const end = at + utf16.size();
    std::size_t length = 0;
    while (at != end) {
        while (static_cast<std::size_t>(end - at) >= kBlock && isAsciiBlock(at)) {
            at += kBlock;
            length += kBlock;
        }
        const char16_t* const stop = static_cast<std::size_t>(end - at) >= kBlock ? at + kBlock : end;
        while (at < stop) {
            const char32_t c = decode(at, end);
            length += c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
        }
    }
    return length;
}

std::size_t convertToUtf16(std::string_view utf8, char16_t* out) noexcept {
    if (widenShort(utf8, out)) return utf8.size();
    const char* at = utf8.data();
    const char* const end = at + utf8.size();
    char16_t* const start = out;
    while (at != end) {
        for (; static_cast<std::size_t>(end - at) >= kBlock; at += kBlock, out += kBlock) {
            const Units low = Units::widened(at);
            const Units high = Units::widened(at + Units::kCount);
            if (!(low | high).isAscii()) break;
            low.store(out);
            high.store(out + Units::kCount);
        }
        const std::string_view rest(at, static_cast<std::size_t>(end - at));
        if (widenShort(rest, out)) return static_cast<std::size_t>(out - start) + rest.size();
        const char* const stop = rest.size() >= kBlock ? at + kBlock : end;
        while (at < stop) {
            if (static_cast<unsigned char>(*at) < 0x80) {
                *out++ = static_cast<unsigned char>(*at++);
            } else {
                out = encode(decode(at, end), out);
            }
        }
    }
    return static_cast<std::size_t>(out - start);
}

std::size_t convertToUtf8(std::u16string_view utf16, char* out) noexcept {
    const char16_t* at = utf16.data();
    const char16_t* const end = at + utf16.size();
    char* const start = out;
    while (at != end) {
        for (; static_cast<std::size_t>(end - at) >= kBlock; at += kBlock, out += kBlock) {
            const Units low = Units::load(at);
            const Units high = Units::load(at + Units::kCount);
            if (!(low | high).isAscii()) break;
            low.storeNarrowed(high, out);
        }
        for (; static_cast<std::size_t>(end - at) >= Units::kCount;
             at += Units::kCount, out += Units::kCount) {
            const Units units = Units::load(at);
            if (!units.isAscii()) break;
            units.storeNarrowed(out);
        }
        const std::u16string_view rest(at, static_cast<std::size_t>(end - at));
        if (narrowShort(rest, out)) return static_cast<std::size_t>(out - start) + rest.size();
        const char16_t* const stop = rest.size() >= kBlock ? at + kBlock : end;
        while (at < stop) out = encode(decode(at, end), out);
    }
    return static_cast<std::size_t>(out - start);
}

std::size_t convertValid(std::string_view utf8, char16_t* out) noexcept {
    const char* at = utf8.data();
    const char* const end = at + utf8.size();
    char16_t* const begin = out;
    while (at != end) {
        while (static_cast<std::size_t>(end - at) >= kShortBlock && isAsciiShortBlock(at)) {
            for (std::size_t i = 0; i < kShortBlock; ++i) out[i] = static_cast<unsigned char>(at[i]);
            at += kShortBlock;
            out += kShortBlock;
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
    return static_cast<std::size_t>(out - begin);
}

std::u16string toUtf16(std::string_view utf8) {
    std::u16string result(utf16Length(utf8), u'\0');
    convertToUtf16(utf8, result.data());
    return result;
}

std::string toUtf8(std::u16string_view utf16) {
    std::string result(utf8Length(utf16), '\0');
    convertToUtf8(utf16, result.data());
    return result;
}

}  // namespace engine::text
