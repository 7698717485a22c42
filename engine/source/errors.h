// Everything that a document can be rejected for, and the record of it. The values of the codes are failing
// statuses (severity and customer bit set), stable across releases. Threads: plain values.
#pragma once

#include <cstdint>
#include <string>

#include "engine/source/position.h"

namespace engine::source {

enum class ErrorCode : std::uint32_t {
    None = 0,

    // The source
    CannotOpen = 0xA0010001,       // missing file, permission denied, not a file
    CannotRead = 0xA0010002,       // the system failed while the document was being read
    AddressRejected = 0xA0010003,  // a URL that is not a file
    TooLong = 0xA0010004,          // longer than the limit given
    NoMemory = 0xA0010005,         // kept for callers that turn std::bad_alloc into a record

    // The encoding
    UnknownEncoding = 0xA0010011,   // declared, and no converter knows it
    EncodingConflict = 0xA0010012,  // the declaration contradicts the byte-order mark or the bytes themselves
    BadByte = 0xA0010013,           // not valid in the encoding, or cut short
    BadCharacter = 0xA0010014,      // a character that no document may contain

    // The document as a whole
    EmptyDocument = 0xA0010021,  // nothing, or white space only
    NoRoot = 0xA0010022,         // comments and the like, but no element
    TextOutsideRoot = 0xA0010023,
    SecondRoot = 0xA0010024,
    BadDeclaration = 0xA0010025,   // the XML declaration itself
    LateDeclaration = 0xA0010026,  // an XML declaration that is not at the start
    DoctypeProhibited = 0xA0010027,
    MisplacedDoctype = 0xA0010028,
    BadDoctype = 0xA0010029,

    // Elements and attributes
    MismatchedEndTag = 0xA0010031,
    UnclosedElement = 0xA0010032,
    UnexpectedEndTag = 0xA0010033,
    BadTag = 0xA0010034,  // unfinished, or something in it that is no attribute
    BadName = 0xA0010035,
    DuplicateAttribute = 0xA0010036,
    LessThanInValue = 0xA0010037,
    BadAttribute = 0xA0010038,  // no value, no quotes, no space before it
    TooDeep = 0xA0010039,
    TooManyAttributes = 0xA001003A,  // in a document with a DOCTYPE; others may have any number
    TooManyNames = 0xA001003B,       // likewise: different names, or entities

    // Text and the rest
    BareAmpersand = 0xA0010041,
    UnknownEntity = 0xA0010042,
    BadCharacterReference = 0xA0010043,
    CDataEndInText = 0xA0010044,
    BadComment = 0xA0010045,
    BadCData = 0xA0010046,
    BadInstruction = 0xA0010047,  // processing instruction
    BadMarkup = 0xA0010048,       // "<!" and then nothing that may follow
    EntityLoop = 0xA0010049,
    EntityTooLarge = 0xA001004A,  // entities would expand beyond the limit
    BadEntity = 0xA001004B,       // the replacement text of an entity, or where it is used

    // Namespaces
    UndeclaredPrefix = 0xA0010051,
    ReservedPrefix = 0xA0010052,  // xml or xmlns, or their URIs, misused
    EmptyPrefixDeclaration = 0xA0010053,
    BadQualifiedName = 0xA0010054,  // more than one colon, or nothing on one side of it
    DuplicateExpandedAttribute = 0xA0010055,
};

// The code as ParseError and a COM caller hold it.
[[nodiscard]] constexpr std::int32_t statusOf(ErrorCode code) noexcept {
    return static_cast<std::int32_t>(code);
}

inline constexpr std::uint64_t kNoOffset = ~std::uint64_t{0};

// Why and where a layer stopped; `TextSource::describe` makes a ParseError of it.
struct Fault {
    ErrorCode code = ErrorCode::None;
    std::uint64_t offset = kNoOffset;  // of the offending text, in bytes of the decoded document
    std::string reason;

    [[nodiscard]] explicit operator bool() const noexcept { return code != ErrorCode::None; }
};

// Why a document was rejected. `code` is negative, as a COM status is; 0 means that nothing is wrong.
struct ParseError {
    std::int32_t code = 0;
    Position position;
    std::string reason;  // UTF-8, one line of plain English, no trailing newline, names the offending thing
    std::string sourceText;  // UTF-8, the line of the position (long lines are cut to a window); empty for an
                             // element that was opened before the part of the file that is still at hand
    std::uint64_t filePosition = 0;  // of the position, in characters from the start of the document

    [[nodiscard]] bool failed() const noexcept { return code != 0; }
};

}  // namespace engine::source
