// A byte order mark decides. Without one the first bytes show how wide the units are; the declaration can
// then be read, and the encoding that it names must fit that layout.
#include "engine/source/encoding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "engine/text/worded.h"

namespace engine::source {
namespace {

constexpr std::string_view kDeclarationStart = "<?xml";

// How the characters of an XML declaration stand in the bytes: one byte that counts in a unit.
struct Layout {
    std::string_view start;  // the first bytes of the document
    std::size_t unit;        // bytes a character
    std::size_t low;         // which of them holds an ASCII character
    std::string_view name;
    Encoding encoding;
    std::size_t markLength;
};

using namespace std::string_view_literals;
constexpr std::array kLayouts{
    // longer marks before those that they start with
    Layout{"\x00\x00\xFE\xFF"sv, 4, 3, "UTF-32BE", Encoding::Foreign, 4},
    Layout{"\xFF\xFE\x00\x00"sv, 4, 0, "UTF-32LE", Encoding::Foreign, 4},
    Layout{"\xEF\xBB\xBF"sv, 1, 0, "UTF-8", Encoding::Utf8, 3},
    Layout{"\xFE\xFF"sv, 2, 1, "UTF-16BE", Encoding::Utf16Big, 2},
    Layout{"\xFF\xFE"sv, 2, 0, "UTF-16LE", Encoding::Utf16Little, 2},
    Layout{"\x00\x00\x00<"sv, 4, 3, "UTF-32BE", Encoding::Foreign, 0},
    Layout{"<\x00\x00\x00"sv, 4, 0, "UTF-32LE", Encoding::Foreign, 0},
    Layout{"\x00<"sv, 2, 1, "UTF-16BE", Encoding::Utf16Big, 0},
    Layout{"<\x00"sv, 2, 0, "UTF-16LE", Encoding::Utf16Little, 0},
};

constexpr std::array<std::pair<std::string_view, Encoding>, 14> kDirectNames{{
    {"UTF-8", Encoding::Utf8},
    {"UTF8", Encoding::Utf8},
    {"ISO-8859-1", Encoding::Latin1},
    {"ISO_8859-1", Encoding::Latin1},
    {"ISO8859-1", Encoding::Latin1},
    {"LATIN1", Encoding::Latin1},
    {"L1", Encoding::Latin1},
    {"US-ASCII", Encoding::Ascii},
    {"ASCII", Encoding::Ascii},
    {"ISO646-US", Encoding::Ascii},
    {"ANSI_X3.4-1968", Encoding::Ascii},
    {"WINDOWS-1252", Encoding::Windows1252},
    {"CP1252", Encoding::Windows1252},
    {"CP-1252", Encoding::Windows1252},
}};

Encoding directEncoding(std::string_view upperCaseName) {
    for (const auto& [direct, encoding] : kDirectNames) {
        if (upperCaseName == direct) return encoding;
    }
    return Encoding::Foreign;
}

std::string upper(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    }
    return result;
}

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// May a document that is laid out like `layout` be declared as `name` (upper case)?
bool agrees(const Layout& layout, std::string_view name) {
    if (layout.unit == 1) return name == "UTF-8" || name == "UTF8";
    const std::string_view order = layout.name.substr(layout.name.size() - 2);
    if (layout.unit == 2) {
        return isOneOf(name, {"UTF-16", "UTF16", "ISO-10646-UCS-2", "UCS-2", "CSUNICODE"}) ||
               (name.starts_with("UTF-16") && name.substr(6) == order);
    }
    return isOneOf(name, {"UTF-32", "ISO-10646-UCS-4", "UCS-4"}) ||
           (name.starts_with("UTF-32") && name.substr(6) == order);
}

struct Declared {
    std::string name;
    std::uint64_t offset;  // of the name, in characters
};

// Looks for encoding="..." in a declaration that may have any other error: those are found later, by the
// parser.
std::optional<Declared> declaredEncoding(std::string_view head) {
    constexpr std::string_view kSpaces = " \t\r\n";
    if (!head.starts_with(kDeclarationStart) || head.size() < 6 ||
        kSpaces.find(head[5]) == std::string_view::npos) {
        return std::nullopt;
    }
    head = head.substr(0, head.find('>'));
    const std::size_t word = head.find("encoding");
    if (word == std::string_view::npos) return std::nullopt;
    std::size_t at = head.find_first_not_of(kSpaces, word + 8);
    if (at == std::string_view::npos || head[at] != '=') return std::nullopt;
    at = head.find_first_not_of(kSpaces, at + 1);
    if (at == std::string_view::npos || (head[at] != '"' && head[at] != '\'')) return std::nullopt;
    const std::size_t end = head.find(head[at], at + 1);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view name = head.substr(at + 1, end - at - 1);
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    if (name.empty() || kLetters.find(name[0]) == std::string_view::npos ||
        name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-") !=
            std::string_view::npos) {
        return std::nullopt;
    }
    // Carriage returns of line ends vanish from the decoded text, and offsets count there.
    std::uint64_t offset = at + 1;
    for (std::size_t i = 1; i <= at; ++i) offset -= head[i - 1] == '\r' && head[i] == '\n' ? 1 : 0;
    return Declared{std::string(name), offset};
}

std::string narrowed(std::string_view head, const Layout& layout) {
    std::string text;
    head.remove_prefix(layout.markLength);
    for (std::size_t i = 0; i + layout.unit <= head.size(); i += layout.unit) text += head[i + layout.low];
    return text;
}

Fault conflict(const Declared& declared, std::string_view actual) {
    return {ErrorCode::EncodingConflict, declared.offset,
            text::worded("The XML declaration says encoding '%1', but the document is written in %2.",
                         declared.name, actual)};
}

Fault unknown(const Declared& declared) {
    return {ErrorCode::UnknownEncoding, declared.offset,
            text::worded("The encoding '%1' is not known.", declared.name)};
}

// The declaration could be read as ASCII, so the encoding that it names must give the same reading.
Detection detectEightBit(std::string_view head) {
    Detection found;
    found.name = "UTF-8";
    const std::optional<Declared> declared = declaredEncoding(head);
    if (!declared) return found;
    found.name = declared->name;
    const std::string name = upper(declared->name);
    found.encoding = directEncoding(name);
    if (found.encoding != Encoding::Foreign) return found;
    const bool isWide = name.starts_with("UTF-16") || name == "ISO-10646-UCS-2" || name == "UCS-2";
    const auto transcoder = isWide ? nullptr : Transcoder::create(found);
    if (transcoder == nullptr) {
        found.fault = isWide ? conflict(*declared, text::worded("single bytes")) : unknown(*declared);
    } else {
        std::string reading;
        const Transcoded result = transcoder->convert(kDeclarationStart, false, reading);
        if (result.fault || reading != kDeclarationStart)
            found.fault = conflict(*declared, text::worded("single bytes"));
    }
    if (found.fault)
        found.encoding = Encoding::Latin1;  // shows the declaration, and nothing else is looked at
    return found;
}

// Every EBCDIC code page has the characters of a declaration at common codes; the name shows which it is.
Detection detectEbcdic(std::string_view head) {
    Detection found;
    found.encoding = Encoding::Foreign;
    found.name = "IBM037";
    const auto transcoder = Transcoder::create(found);
    std::string reading;
    if (transcoder != nullptr) (void)transcoder->convert(head, false, reading);  // as far as it goes
    const std::optional<Declared> declared = declaredEncoding(reading);
    if (!declared) {
        found.fault = {ErrorCode::UnknownEncoding, 0,
                       text::worded("The document is in an EBCDIC encoding that it does not declare.")};
        return found;
    }
    found.name = declared->name;
    const auto named = Transcoder::create(found);
    reading.clear();
    if (named == nullptr) {
        found.fault = unknown(*declared);
    } else if (named->convert(head.substr(0, 5), false, reading).fault || reading != kDeclarationStart) {
        found.fault = conflict(*declared, "EBCDIC");
    }
    if (found.fault) found.name = "IBM037";
    return found;
}

}  // namespace

Encoding encodingNamed(std::string_view name) {
    const std::string upperCase = upper(name);
    if (isOneOf(upperCase, {"UTF-16", "UTF16", "UTF-16LE", "UTF16LE"})) return Encoding::Utf16Little;
    if (isOneOf(upperCase, {"UTF-16BE", "UTF16BE"})) return Encoding::Utf16Big;
    return directEncoding(upperCase);
}

namespace {

// Most documents begin in one of two ways that leave no doubt.
bool isPlainlyUtf8(std::string_view head) noexcept {
    constexpr std::string_view kUsualDeclaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";
    const bool isBare = head.size() > 1 && head[0] == '<' && head[1] != '?' && head[1] != '\0';
    return isBare || head.starts_with(kUsualDeclaration);
}

}  // namespace

Detection detectEncoding(std::string_view head) {
    if (isPlainlyUtf8(head)) return {Encoding::Utf8, "UTF-8", 0, {}};
    constexpr std::string_view kEbcdicDeclaration = "\x4C\x6F\xA7\x94";
    if (head.starts_with(kEbcdicDeclaration)) return detectEbcdic(head);
    const auto* layout = std::find_if(kLayouts.begin(), kLayouts.end(),
                                      [&](const Layout& l) { return head.starts_with(l.start); });
    if (layout == kLayouts.end()) return detectEightBit(head);

    Detection found;
    found.encoding = layout->encoding;
    found.name = layout->name;
    found.markLength = layout->markLength;
    const std::optional<Declared> declared = declaredEncoding(narrowed(head, *layout));
    if (declared && !agrees(*layout, upper(declared->name))) found.fault = conflict(*declared, layout->name);
    return found;
}

}  // namespace engine::source
