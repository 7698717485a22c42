// Every error has its code, position and reason, in whatever way the document comes.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "engine/source/errors.h"
#include "engine/text/utf.h"
#include "tests/engine/reader_log.h"

namespace engine::reader::test {
namespace {

using namespace std::string_literals;

struct ErrorCase {
    std::string_view document;
    ErrorCode code;
    std::uint32_t line;
    std::uint32_t column;
    std::string_view reason;
};

const ErrorCase kCases[] = {
    {"<a>\n  <b>\n</a>", ErrorCode::MismatchedEndTag, 3, 1, "End tag 'a' does not match the start tag 'b'."},
    {"<a>\n <b>\n<c/>", ErrorCode::UnclosedElement, 2, 2,
     "Element 'b' is not closed: its end tag is missing."},
    {"<a/>\r\n<b/>", ErrorCode::SecondRoot, 2, 1, "A document has one root element: 'b' is a second one."},
    {"<a/>\r\rtext", ErrorCode::TextOutsideRoot, 3, 1, "Text is not allowed after the root element."},
    {" text<a/>", ErrorCode::TextOutsideRoot, 1, 2, "Text is not allowed before the root element."},
    {"<a/><![CDATA[x]]>", ErrorCode::TextOutsideRoot, 1, 5,
     "A CDATA section is allowed inside the root element only."},
    {"</a>", ErrorCode::UnexpectedEndTag, 1, 1, "End tag 'a' has no start tag."},
    {"<a/></a>", ErrorCode::UnexpectedEndTag, 1, 5, "End tag 'a' has no start tag."},
    {"", ErrorCode::EmptyDocument, 1, 1, "The document is empty: a root element is missing."},
    {" \n\n ", ErrorCode::EmptyDocument, 3, 2, "The document is empty: a root element is missing."},
    {"<!-- only this -->", ErrorCode::NoRoot, 1, 19, "The document has no root element."},
    {"<!DOCTYPE a>\n<a/>", ErrorCode::DoctypeProhibited, 1, 1,
     "A DOCTYPE is not allowed here: documents with a document type declaration are rejected."},
    {"<a/><!DOCTYPE a>", ErrorCode::MisplacedDoctype, 1, 5, "A DOCTYPE must precede the root element."},

    {"<a b='1' b='2'/>", ErrorCode::DuplicateAttribute, 1, 10, "Duplicate attribute 'b'."},
    {"<a b1='' b2='' b3='' b4='' b5='' b6='' b7='' b8=''\n b9='' b3='' b2=''/>",
     ErrorCode::DuplicateAttribute, 2, 8, "Duplicate attribute 'b3'."},
    {"<a b='x<y'/>", ErrorCode::LessThanInValue, 1, 8,
     "'<' is not allowed in the value of attribute 'b': write '&lt;', or close the quotes before it."},
    {"<a b=1/>", ErrorCode::BadAttribute, 1, 6, "The value of attribute 'b' must be quoted."},
    {"<a\n b/>", ErrorCode::BadAttribute, 2, 2,
     "Attribute 'b' has no value: '=' and a value in quotes must follow."},
    {"<a b='1'c='2'/>", ErrorCode::BadAttribute, 1, 9, "Whitespace is missing before attribute 'c'."},
    {"<a 1b=''/>", ErrorCode::BadTag, 1, 4,
     "Unexpected '1' in start tag 'a'; expected an attribute, '>' or '/>'."},
    {"<a b='' / >", ErrorCode::BadTag, 1, 9,
     "Unexpected '/' in start tag 'a'; expected an attribute, '>' or '/>'."},
    {"<1a/>", ErrorCode::BadName, 1, 2, "The name of an element must not start with '1'."},
    {"<a>1 < 2</a>", ErrorCode::BadTag, 1, 6,
     "'<' must be followed by the name of an element; write '&lt;' for the character itself."},
    {"<a><b <c/></a>", ErrorCode::BadTag, 1, 4, "The start tag 'b' is not finished: '>' is missing."},
    {"<a><b c='", ErrorCode::BadTag, 1, 4, "The start tag 'b' is not finished: '>' is missing."},
    {"<a></a", ErrorCode::BadTag, 1, 4, "The end tag 'a' is not finished: '>' is missing."},
    {"<a></a b>", ErrorCode::BadTag, 1, 8, "Unexpected 'b' in end tag 'a'; expected '>'."},
    {"<a></ a>", ErrorCode::BadName, 1, 4, "'</' must be followed by the name of an element."},

    {"<a>fish & chips</a>", ErrorCode::BareAmpersand, 1, 9,
     "'&' must begin a reference such as '&amp;'; write '&amp;' for the character itself."},
    {"<a>AT&T</a>", ErrorCode::BareAmpersand, 1, 6,
     "The reference '&T' must end with ';'; write '&amp;' for a plain '&'."},
    {"<a b='&foo;'/>", ErrorCode::UnknownEntity, 1, 7, "Entity 'foo' is not declared."},
    {"<a>\n\n&foo;</a>", ErrorCode::UnknownEntity, 3, 1, "Entity 'foo' is not declared."},
    {"<a>x&#x1;</a>", ErrorCode::BadCharacterReference, 1, 5,
     "The character reference '&#x1;' refers to a character that XML does not allow."},
    {"<a>&#99999999999;</a>", ErrorCode::BadCharacterReference, 1, 4,
     "The character reference '&#99999999999;' refers to a character that XML does not allow."},
    {"<a>&#xG;</a>", ErrorCode::BadCharacterReference, 1, 4,
     "The character reference '&#x' must contain a number."},
    {"<a>&#65</a>", ErrorCode::BadCharacterReference, 1, 4,
     "The character reference '&#65' must end with ';'."},
    {"<a>\u00E4\x01</a>", ErrorCode::BadCharacter, 1, 5, "Character U+0001 is not allowed in XML."},
    {"<a>]]></a>", ErrorCode::CDataEndInText, 1, 4, "']]>' is not allowed in text: write ']]&gt;'."},
    {"<a>x]]]></a>", ErrorCode::CDataEndInText, 1, 6, "']]>' is not allowed in text: write ']]&gt;'."},

    {"<a><!-- x -- y --></a>", ErrorCode::BadComment, 1, 11, "'--' is not allowed inside a comment."},
    {"<a><!-- x --->\n</a>", ErrorCode::BadComment, 1, 11, "'--' is not allowed inside a comment."},
    {"<a>\n<!-- x \n </a>", ErrorCode::BadComment, 2, 1, "This comment is not closed: '-->' is missing."},
    {"<a>\n<![CDATA[ x ]] \n </a>", ErrorCode::BadCData, 2, 1,
     "This CDATA section is not closed: ']]>' is missing."},
    {"<a><!x></a>", ErrorCode::BadMarkup, 1, 4,
     "'<!' must begin a comment '<!--' or a CDATA section '<![CDATA[' here."},
    {"<a><?1?></a>", ErrorCode::BadInstruction, 1, 6,
     "A processing instruction must begin with a name, not with '1'."},
    {"<?XML x?><a/>", ErrorCode::BadInstruction, 1, 3,
     "The name 'XML' is reserved: no processing instruction may have it."},
    {"<a><?pi+?></a>", ErrorCode::BadInstruction, 1, 8,
     "Whitespace or '?>' is missing after the name 'pi' of the processing instruction."},
    {"<a><?pi x></a>", ErrorCode::BadInstruction, 1, 4,
     "The processing instruction 'pi' is not closed: '?>' is missing."},
    {"\n<?xml version='1.0'?><a/>", ErrorCode::LateDeclaration, 2, 1,
     "The XML declaration is allowed at the very start of the document only."},

    {"<?xml?><a/>", ErrorCode::BadDeclaration, 1, 6, "The XML declaration must begin with version=\"1.0\"."},
    {"<?xml version='2.0'?><a/>", ErrorCode::BadDeclaration, 1, 16,
     "XML version '2.0' is not known; \"1.0\" is."},
    {"<?xml version='1.0' encoding='1'?><a/>", ErrorCode::BadDeclaration, 1, 31,
     "'1' cannot be the name of an encoding."},
    {"<?xml version='1.0' standalone='maybe'?><a/>", ErrorCode::BadDeclaration, 1, 33,
     "standalone must be \"yes\" or \"no\", not 'maybe'."},
    {"<?xml version='1.0' standalone='yes' encoding='UTF-8'?><a/>", ErrorCode::BadDeclaration, 1, 38,
     "Unexpected 'encoding' in the XML declaration; expected version, encoding and standalone, in this "
     "order."},
    {"<?xml version='1.0'>\n<a/>", ErrorCode::BadDeclaration, 1, 20,
     "The XML declaration must end with '?>'."},
    {"<?xml version=1.0?><a/>", ErrorCode::BadDeclaration, 1, 15,
     "The value of 'version' in the XML declaration must be quoted."},
    {"<?xml version='1.0'encoding='UTF-8'?><a/>", ErrorCode::BadDeclaration, 1, 20,
     "Whitespace is missing before 'encoding' in the XML declaration."},

    {"<a>\n <p:b/></a>", ErrorCode::UndeclaredPrefix, 2, 2,
     "The prefix of 'p:b' is not declared: xmlns:p=\"...\" is missing."},
    {"<a b='' p:c=''/>", ErrorCode::UndeclaredPrefix, 1, 9,
     "The prefix of 'p:c' is not declared: xmlns:p=\"...\" is missing."},
    {"<a xmlns:p='u' xmlns:q='u' p:x='' q:x=''/>", ErrorCode::DuplicateExpandedAttribute, 1, 35,
     "Duplicate attribute 'q:x': another prefix is bound to the same namespace."},
    {"<a xmlns:p=''/>", ErrorCode::EmptyPrefixDeclaration, 1, 4,
     "The declaration of prefix 'p' must name a namespace; only xmlns=\"\" may be empty."},
    {"<a xmlns:xml='u'/>", ErrorCode::ReservedPrefix, 1, 4,
     "The prefix 'xml' can only be bound to 'http://www.w3.org/XML/1998/namespace'."},
    {"<a xmlns='http://www.w3.org/2000/xmlns/'/>", ErrorCode::ReservedPrefix, 1, 4,
     "The namespace 'http://www.w3.org/2000/xmlns/' is reserved and must not be declared."},
    {"<a xmlns:p='http://www.w3.org/XML/1998/namespace'/>", ErrorCode::ReservedPrefix, 1, 4,
     "The namespace 'http://www.w3.org/XML/1998/namespace' belongs to the prefix 'xml' alone."},
    {"<a xmlns:xmlns='u'/>", ErrorCode::ReservedPrefix, 1, 4, "The prefix 'xmlns' must not be declared."},
    {"<xmlns:a/>", ErrorCode::ReservedPrefix, 1, 1,
     "The prefix 'xmlns' is reserved: no element may have it."},
    {"<a b:c:d=''/>", ErrorCode::BadQualifiedName, 1, 4,
     "The name 'b:c:d' is not a qualified name: a single colon separates a prefix from a name."},
};

void expectError(const ErrorCase& row, const ParseError& error) {
    EXPECT_EQ(error.code, statusOf(row.code));
    EXPECT_EQ(error.reason, row.reason);
    EXPECT_EQ(error.position.line, row.line);
    EXPECT_EQ(error.position.column, row.column);
}

std::string utf16Bytes(std::string_view text, bool isBig) {
    std::string bytes;
    for (char16_t unit : u"\uFEFF" + text::toUtf16(text)) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        bytes += isBig ? high : low;
        bytes += isBig ? low : high;
    }
    return bytes;
}

TEST(ReaderErrors, NameTheOffendingTokenAndItsPosition) {
    for (const ErrorCase& row : kCases) {
        SCOPED_TRACE(row.document);
        expectError(row, readAll(Input::bytes(row.document)).error);
    }
}

TEST(ReaderErrors, AreTheSameInEveryPieceSize) {
    for (const ErrorCase& row : kCases) {
        const Reading whole = readAll(Input::bytes(row.document));
        for (const std::size_t chunk : {1U, 2U, 3U, 5U, 16U, 65536U}) {
            SCOPED_TRACE(std::string(row.document) + " in pieces of " + std::to_string(chunk));
            ReadOptions options;
            options.chunkInBytes = chunk;
            const Reading reading = readAll(Input::bytes(row.document), options);
            expectError(row, reading.error);
            EXPECT_EQ(reading.error.filePosition, whole.error.filePosition);
            EXPECT_EQ(reading.error.sourceText, whole.error.sourceText);
            EXPECT_EQ(reading.events, whole.events);
            // The other parser has words and positions of its own, but the same verdict.
            options.parser = ReadOptions::Parser::Libxml2;
            const ParseError theirs = readAll(Input::bytes(row.document), options).error;
            EXPECT_TRUE(theirs.failed());
            EXPECT_NE(theirs.reason, "");
            EXPECT_NE(theirs.position.line, 0u);
        }
    }
}

TEST(ReaderErrors, HaveTheSamePositionInEveryEncoding) {
    for (const ErrorCase& row : kCases) {
        if (row.document.empty()) continue;
        SCOPED_TRACE(row.document);
        expectError(row, readAll(Input::bytes("\xEF\xBB\xBF" + std::string(row.document))).error);
        expectError(row, readAll(Input::text(text::toUtf16(row.document))).error);
        if (row.document.find("UTF-8") != std::string_view::npos) continue;  // would contradict what follows
        for (bool isBig : {false, true}) {
            for (const std::size_t chunk : {1U, 65536U}) {
                ReadOptions options;
                options.chunkInBytes = chunk;
                expectError(row, readAll(Input::bytes(utf16Bytes(row.document, isBig)), options).error);
            }
        }
    }
}

// In code page 37: the characters of these declarations.
std::string ebcdic(std::string_view text) {
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz";
    constexpr unsigned char kStarts[] = {0x81, 0x91, 0xA2};
    std::string bytes;
    for (const char c : text) {
        unsigned char byte = 0x40;
        if (const std::size_t i = kLetters.find(c); i != kLetters.npos)
            byte = static_cast<unsigned char>(kStarts[i < 9    ? 0
                                                      : i < 18 ? 1
                                                               : 2] +
                                              (i < 18 ? i % 9 : i - 18));
        else if (c >= 'A' && c <= 'I')
            byte = static_cast<unsigned char>(0xC1 + (c - 'A'));
        else if (c >= 'S' && c <= 'Z')
            byte = static_cast<unsigned char>(0xE2 + (c - 'S'));
        else if (c >= 'J' && c <= 'R')
            byte = static_cast<unsigned char>(0xD1 + (c - 'J'));
        else if (c >= '0' && c <= '9')
            byte = static_cast<unsigned char>(0xF0 + (c - '0'));
        else if (const std::size_t sign = std::string_view("<>?'=./-").find(c);
                 sign != std::string_view::npos)
            byte = static_cast<unsigned char>("\x4C\x6E\x6F\x7D\x7E\x4B\x61\x60"[sign]);
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

// Bytes are part of these errors.
TEST(ReaderErrors, OfEncodingsNameTheByte) {
    const struct {
        std::string document;
        ErrorCode code;
        std::uint32_t line;
        std::uint32_t column;
        std::string_view reason;
    } cases[] = {
        {"<a>\n\u00E4\xFF</a>", ErrorCode::BadByte, 2, 2, "Byte 0xFF is not valid in UTF-8."},
        {"<a>\xC0\x80</a>", ErrorCode::BadByte, 1, 4, "Byte 0xC0 is not valid in UTF-8."},
        {"<a>\xE2\x82</a>", ErrorCode::BadByte, 1, 4,
         "Byte 0xE2 starts a UTF-8 character of 3 bytes, but byte 0x3C cannot continue it."},
        {"<a>\xED\xA0\x80</a>", ErrorCode::BadCharacter, 1, 4, "Unpaired surrogate U+D800."},
        {"<a>\xEF\xBF\xBE</a>", ErrorCode::BadCharacter, 1, 4, "Character U+FFFE is not allowed in XML."},
        {"<a>x\xE2\x82", ErrorCode::BadByte, 1, 5,
         "The document ends in the middle of a UTF-8 character that starts with byte 0xE2."},
        {"<a>\0</a>"s, ErrorCode::BadCharacter, 1, 4, "Character U+0000 is not allowed in XML."},
        {"<?xml version='1.0' encoding='x-nope'?><a/>", ErrorCode::UnknownEncoding, 1, 31,
         "The encoding 'x-nope' is not known."},
        {"<?xml version='1.0' encoding='UTF-16'?><a/>", ErrorCode::EncodingConflict, 1, 31,
         "The XML declaration says encoding 'UTF-16', but the document is written in single bytes."},
        {"<?xml version='1.0' encoding='UTF-32LE'?><a/>", ErrorCode::EncodingConflict, 1, 31,
         "The XML declaration says encoding 'UTF-32LE', but the document is written in single bytes."},
        {"\xEF\xBB\xBF<?xml version='1.0'\r\n encoding='iso-8859-1'?><a/>", ErrorCode::EncodingConflict, 2,
         12, "The XML declaration says encoding 'iso-8859-1', but the document is written in UTF-8."},
        {utf16Bytes("<?xml version='1.0' encoding='UTF-8'?><a/>", true), ErrorCode::EncodingConflict, 1, 31,
         "The XML declaration says encoding 'UTF-8', but the document is written in UTF-16BE."},
        {utf16Bytes("<?xml version='1.0' encoding='utf-16be'?><a/>", false), ErrorCode::EncodingConflict, 1,
         31, "The XML declaration says encoding 'utf-16be', but the document is written in UTF-16LE."},
        {"<?xml version='1.0' encoding='us-ascii'?>\n<a>\xE4</a>", ErrorCode::BadByte, 2, 4,
         "Byte 0xE4 is not valid in us-ascii."},
        {"<?xml version='1.0' encoding='windows-1252'?><a>\x80\x81</a>", ErrorCode::BadByte, 1, 50,
         "Byte 0x81 is not valid in windows-1252."},
        {"<?xml version='1.0' encoding='Shift_JIS'?><a>\x83\x41\xFF</a>", ErrorCode::BadByte, 1, 47,
         "Byte 0xFF is not valid in Shift_JIS."},
        {"<?xml version='1.0' encoding='Shift_JIS'?><a>\x83", ErrorCode::BadByte, 1, 46,
         "The document ends in the middle of a character (encoding Shift_JIS)."},
        {ebcdic("<?xml version='1.0'?><a/>"), ErrorCode::UnknownEncoding, 1, 1,
         "The document is in an EBCDIC encoding that it does not declare."},
        {ebcdic("<?xml version='1.0' encoding='x-nope'?><a/>"), ErrorCode::UnknownEncoding, 1, 31,
         "The encoding 'x-nope' is not known."},
        {ebcdic("<?xml version='1.0' encoding='UTF-8'?><a/>"), ErrorCode::EncodingConflict, 1, 31,
         "The XML declaration says encoding 'UTF-8', but the document is written in EBCDIC."},
        {utf16Bytes("<a>", false) + "x", ErrorCode::BadByte, 1, 4,
         "The document ends in the middle of a character (encoding UTF-16)."},
    };
    for (const auto& row : cases) {
        for (const std::size_t chunk : {1U, 2U, 3U, 65536U}) {
            for (auto parser : {ReadOptions::Parser::Automatic, ReadOptions::Parser::Libxml2}) {
                SCOPED_TRACE(row.document + " in pieces of " + std::to_string(chunk));
                ReadOptions options;
                options.chunkInBytes = chunk;
                options.parser = parser;
                const ParseError error = readAll(Input::bytes(row.document), options).error;
                expectError({row.document, row.code, row.line, row.column, row.reason}, error);
            }
        }
    }
}

TEST(ReaderErrors, ReportSourceTextAndFilePosition) {
    const std::string longLine(1000, 'x');
    const struct {
        std::string document;
        std::string_view sourceText;
        std::uint64_t filePosition;
    } cases[] = {
        {"<a>\r\n\u00E4\u00F6 &\r\n</a>", "\u00E4\u00F6 &", 8},  // both characters of each line end count
        {"<a>\r\r\n\n &", " &", 8},
        {"<a>" + longLine + "&" + longLine, {}, 1003},
    };
    for (const auto& row : cases) {
        for (const std::size_t chunk : {1U, 2U, 65536U}) {
            ReadOptions options;
            options.chunkInBytes = chunk;
            const ParseError error = readAll(Input::bytes(row.document), options).error;
            EXPECT_EQ(error.filePosition, row.filePosition);
            if (!row.sourceText.empty()) {
                EXPECT_EQ(error.sourceText, row.sourceText);
            } else {
                EXPECT_EQ(error.sourceText.size(), 320u);
                EXPECT_EQ(error.sourceText[160], '&');
            }
        }
    }
}

TEST(ReaderErrors, ReachTheStartOfAnElementThatLeftTheWindowLongAgo) {
    std::string document = "<a>\n  <b>\r\n";
    for (int i = 0; i < 100'000; ++i) document += "<c>text</c>\n";
    const ParseError error = readAll(Input::bytes(document)).error;
    expectError({{}, ErrorCode::UnclosedElement, 2, 3, "Element 'b' is not closed: its end tag is missing."},
                error);
    EXPECT_EQ(error.filePosition, 6u);
    EXPECT_EQ(error.sourceText, "");
}

TEST(ReaderErrors, OfFilesSayWhatIsWrongWithThem) {
    const struct {
        Input input;
        ErrorCode code;
        std::string_view reason;
    } cases[] = {
        {Input::file("/no/such/file.xml"), ErrorCode::CannotOpen,
         "The file '/no/such/file.xml' cannot be read: no such file."},
        {Input::file("/"), ErrorCode::CannotRead, "The file '/' cannot be read: it is a directory."},
        {Input::location(u"\\no\\such\\file.xml"), ErrorCode::CannotOpen,
         "The file '/no/such/file.xml' cannot be read: no such file."},
        {Input::location(u"file:///no%20such/f.xml"), ErrorCode::CannotOpen,
         "The file '/no such/f.xml' cannot be read: no such file."},
        {Input::location(u"http://example.org/a.xml"), ErrorCode::AddressRejected,
         "The address 'http://example.org/a.xml' is rejected: only files can be read."},
        {Input::location(u"file://elsewhere/a.xml"), ErrorCode::AddressRejected,
         "The address 'file://elsewhere/a.xml' is rejected: only files can be read."},
    };
    for (const auto& row : cases) {
        const ParseError error = readAll(row.input).error;
        EXPECT_EQ(error.code, statusOf(row.code));
        EXPECT_EQ(error.reason, row.reason);
    }
}

}  // namespace
}  // namespace engine::reader::test
