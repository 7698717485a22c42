// Blocks of plain ASCII pass at once; other text goes character by character, the common lengths by a glance
// at the lead byte. A fault is described where it is found, with its offset.
#include "engine/source/normalise.h"

#include <bit>
#include <cstdio>
#include <cstring>

#include "engine/text/block.h"
#include "engine/text/chars.h"
#include "engine/text/worded.h"

namespace engine::source {
namespace {

using text::worded;

std::string hex(char byte) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    return text;
}

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

std::size_t sequenceLength(char first) {
    const auto byte = static_cast<unsigned char>(first);
    if (byte >= 0xC2 && byte <= 0xDF) return 2;
    if (byte >= 0xE0 && byte <= 0xEF) return 3;
    if (byte >= 0xF0 && byte <= 0xF4) return 4;
    return 0;
}

// Overlong forms and what lies beyond U+10FFFF show in the second byte.
bool isSecondByteValid(char first, char second) {
    const auto a = static_cast<unsigned char>(first);
    const auto b = static_cast<unsigned char>(second);
    if (a == 0xE0) return b >= 0xA0;
    if (a == 0xF0) return b >= 0x90;
    if (a == 0xF4) return b <= 0x8F;
    return true;
}

Fault badByte(char byte) {
    return {ErrorCode::BadByte, kNoOffset, worded("Byte %1 is not valid in UTF-8.", hex(byte))};
}

Fault badCharacter(char32_t c) {
    char number[16];
    std::snprintf(number, sizeof number, "U+%04X", static_cast<unsigned>(c));
    if (c >= 0xD800 && c <= 0xDFFF) {
        return {ErrorCode::BadCharacter, kNoOffset, worded("Unpaired surrogate %1.", number)};
    }
    return {ErrorCode::BadCharacter, kNoOffset, worded("Character %1 is not allowed in XML.", number)};
}

// The length of a character of the common sort, valid at a glance; 0 sends it to checkSequence.
std::size_t commonLength(const char* in, const char* end) {
    if (end - in < 4 || !isContinuation(in[1])) return 0;
    const auto first = static_cast<unsigned char>(in[0]);
    if (first >= 0xC2 && first <= 0xDF) return 2;
    // E0, ED, EF have overlong forms, surrogates, and U+FFFE.
    return first > 0xE0 && first < 0xEF && first != 0xED && isContinuation(in[2]) ? 3 : 0;
}

struct Sequence {
    std::size_t length = 0;  // 0 without a fault: more bytes are needed
    Fault fault;
};

Sequence checkSequence(std::string_view from, bool last) {
    const std::size_t length = sequenceLength(from[0]);
    if (length == 0) return {0, badByte(from[0])};
    for (std::size_t i = 1; i < length; ++i) {
        if (i == from.size()) {
            if (!last) return {};
            return {0,
                    {ErrorCode::BadByte, kNoOffset,
                     worded("The document ends in the middle of a UTF-8 character that starts with byte %1.",
                            hex(from[0]))}};
        }
        if (!isContinuation(from[i])) {
            return {0,
                    {ErrorCode::BadByte, kNoOffset,
                     worded("Byte %1 starts a UTF-8 character of %2 bytes, but byte %3 cannot continue it.",
                            hex(from[0]), std::to_string(length), hex(from[i]))}};
        }
        if (i == 1 && !isSecondByteValid(from[0], from[1])) return {0, badByte(from[0])};
    }
    const char32_t c = text::decodeAt(from.data()).character;
    if (!text::isXmlCharacter(c)) return {0, badCharacter(c)};
    return {length, {}};
}

// Of a rest that is shorter than a block: the last block of the text holds it.
bool isCleanToEnd(const char* begin, const char* at, const char* end) {
    if (end - begin < static_cast<std::ptrdiff_t>(text::kBlock)) return false;
    const auto before = static_cast<std::uint32_t>(text::kBlock - static_cast<std::size_t>(end - at));
    return text::Block::load(end - text::kBlock).suspects() >> before == 0;
}

}  // namespace

Checked check(std::string_view text, bool isLast) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    const char* at = begin;
    Checked result;
    while (at != end) {
        while (end - at >= static_cast<std::ptrdiff_t>(4 * text::kBlock) &&
               !text::Block::hasSuspectsInFour(at))
            at += 4 * text::kBlock;
        while (end - at >= static_cast<std::ptrdiff_t>(text::kBlock)) {
            const std::uint32_t suspects = text::Block::load(at).suspects();
            if (suspects != 0) {
                at += std::countr_zero(suspects);
                break;
            }
            at += text::kBlock;
        }
        if (end - at < static_cast<std::ptrdiff_t>(text::kBlock) && isCleanToEnd(begin, at, end)) at = end;
        if (at == end) break;
        const char c = *at;
        if (static_cast<unsigned char>(c) >= 0x80) {
            // Whole words of other scripts, before the next block is tried.
            const char* const before = at;
            while (const std::size_t length = commonLength(at, end)) at += length;
            if (at != before) continue;
            Sequence sequence = checkSequence({at, end}, isLast);
            if (sequence.length == 0) {
                result.fault = std::move(sequence.fault);
                break;
            }
            at += sequence.length;
        } else if (c >= ' ' || c == '\n' || c == '\t') {
            ++at;
        } else if (c == '\r') {
            if (at + 1 == end && !isLast) break;
            result.hasReturn = true;
            ++at;
        } else {
            result.fault = badCharacter(static_cast<unsigned char>(c));
            break;
        }
    }
    result.length = static_cast<std::size_t>(at - begin);
    return result;
}

std::size_t normaliseLineEnds(char* text, std::size_t length, std::uint64_t base,
                              std::vector<std::uint64_t>& dropped) {
    const char* const end = text + length;
    const char* in = text;
    char* out = text;
    for (;;) {
        const void* found = std::memchr(in, '\r', static_cast<std::size_t>(end - in));
        const char* const stop = found == nullptr ? end : static_cast<const char*>(found);
        const auto run = static_cast<std::size_t>(stop - in);
        if (out != in) std::memmove(out, in, run);
        out += run;
        if (stop == end) return static_cast<std::size_t>(out - text);
        *out++ = '\n';
        in = stop + 1;
        if (in != end && *in == '\n') {
            dropped.push_back(base + static_cast<std::uint64_t>(out - text));
            ++in;
        }
    }
}

}  // namespace engine::source
