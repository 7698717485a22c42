// Which encoding a document is in, and how its bytes become UTF-8.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "engine/source/errors.h"

namespace engine::source {

enum class Encoding : std::uint8_t { Utf8, Utf16Little, Utf16Big, Latin1, Ascii, Windows1252, Foreign };

// What the first bytes of a document say about its encoding.
struct Detection {
    Encoding encoding = Encoding::Utf8;
    std::string name;            // as declared, or of what was detected; for messages and foreign converters
    std::size_t markLength = 0;  // bytes of the byte-order mark
    Fault fault;                 // unknown or contradictory; offset 0 means the declaration
};

// The encoding of a name, case ignored; Foreign: none that is known here. Where the name leaves the
// order of UTF-16 open it is little.
[[nodiscard]] Encoding encodingNamed(std::string_view name);

// The characters of windows-1252 from 0x80 to 0x9F; kUnusedByte where there is none.
inline constexpr char16_t kUnusedByte = 0xFFFF;
inline constexpr std::array<char16_t, 32> kWindows1252{
    0x20AC,      kUnusedByte, 0x201A, 0x0192, 0x201E, 0x2026,      0x2020, 0x2021,
    0x02C6,      0x2030,      0x0160, 0x2039, 0x0152, kUnusedByte, 0x017D, kUnusedByte,
    kUnusedByte, 0x2018,      0x2019, 0x201C, 0x201D, 0x2022,      0x2013, 0x2014,
    0x02DC,      0x2122,      0x0161, 0x203A, 0x0153, kUnusedByte, 0x017E, 0x0178,
};

inline constexpr std::size_t kDetectionBytes = 1024;  // enough for every sensible XML declaration

// `head`: the first kDetectionBytes of the document, or all of it.
[[nodiscard]] Detection detectEncoding(std::string_view head);

// What became of a piece of text on its way to UTF-8.
struct Transcoded {
    std::size_t consumed = 0;  // bytes of the input; what is left over is the start of a character
    Fault fault;               // at the end of what was written
};

// Turns bytes of one encoding into UTF-8, which the filter checks further. Not for Encoding::Utf8.
class Transcoder {
public:
    virtual ~Transcoder() = default;
    // Appends to `to`. With `last` nothing may be left over: a character cut short is a fault.
    [[nodiscard]] virtual Transcoded convert(std::string_view from, bool last, std::string& to) = 0;

    // Null if libxml2 has no converter of that name.
    [[nodiscard]] static std::unique_ptr<Transcoder> create(const Detection& detection);
};

}  // namespace engine::source
