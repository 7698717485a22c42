#include "engine/reader/detail/filter.h"

#include <bit>
#include <cstdio>
#include <cstring>

#include "engine/reader/detail/block.h"
#include "engine/reader/detail/chars.h"

namespace engine::reader::detail {
namespace {

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
    return {ErrorCode::BadByte, kNoOffset, "Byte " + hex(byte) + " is not valid in UTF-8."};
}

Fault badCharacter(char32_t c) {
    char number[16];
    std::snprintf(number, sizeof number, "U+%04X", static_cast<unsigned>(c));
    if (c >= 0xD800 && c <= 0xDFFF) {
        return {ErrorCode::BadCharacter, kNoOffset,
                std::string("Half of a surrogate pair, ") + number + ", stands without its other half."};
    }
    return {ErrorCode::BadCharacter, kNoOffset,
            std::string("Character ") + number + " is not allowed in XML."};
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
                     "The document ends in the middle of a UTF-8 character that starts with byte " +
                         hex(from[0]) + "."}};
        }
        if (!isContinuation(from[i])) {
            return {0,
                    {ErrorCode::BadByte, kNoOffset,
                     "Byte " + hex(from[0]) + " starts a UTF-8 character of " + std::to_string(length) +
                         " bytes, but byte " + hex(from[i]) + " cannot continue it."}};
        }
        if (i == 1 && !isSecondByteValid(from[0], from[1])) return {0, badByte(from[0])};
    }
    const char32_t c = decodeAt(from.data()).character;
    if (!isXmlCharacter(c)) return {0, badCharacter(c)};
    return {length, {}};
}

}  // namespace

Filtered TextFilter::run(std::string_view from, bool last, char* to, std::vector<std::size_t>& dropped) {
    const char* in = from.data();
    const char* const end = in + from.size();
    char* out = to;
    Filtered result;
    if (afterReturn_ && in != end) {
        afterReturn_ = false;
        if (*in == '\n') {
            ++in;
            dropped.push_back(0);
        }
    }
    while (in != end) {
        while (end - in >= static_cast<std::ptrdiff_t>(kBlock)) {
            const Block block = Block::load(in);
            const std::uint32_t plain = block.above(0x1F) | block.equal('\n') | block.equal('\t');
            block.store(out);
            const auto length = static_cast<std::size_t>(std::countr_one(plain));
            in += length;
            out += length;
            if (length < kBlock) break;
        }
        if (in == end) break;
        const char c = *in;
        if (static_cast<unsigned char>(c) >= 0x80) {
            // Whole words of other scripts, before the next block is tried.
            const char* const before = in;
            while (const std::size_t length = commonLength(in, end)) {
                std::memcpy(out, in, 4);  // a fixed length; what is too much is written over
                in += length;
                out += length;
            }
            if (in != before) continue;
            const Sequence sequence = checkSequence({in, end}, last);
            if (sequence.length == 0) {
                result.fault = sequence.fault;
                break;
            }
            for (std::size_t i = 0; i < sequence.length; ++i) *out++ = *in++;
        } else if (c >= ' ' || c == '\n' || c == '\t') {
            *out++ = c;
            ++in;
        } else if (c == '\r') {
            ++in;
            if (in == end) {
                afterReturn_ = !last;
            } else if (*in == '\n') {
                dropped.push_back(static_cast<std::size_t>(out - to) + 1);
                ++in;
            }
            *out++ = '\n';
        } else {
            result.fault = badCharacter(static_cast<unsigned char>(c));
            break;
        }
    }
    result.consumed = static_cast<std::size_t>(in - from.data());
    result.written = static_cast<std::size_t>(out - to);
    return result;
}

}  // namespace engine::reader::detail
