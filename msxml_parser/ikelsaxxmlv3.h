// What the third version of a SAX parser adds: all events with their names in full, from any source, with
// their position, and an error that is reported as one. Every SAX parser of the component has it; ask for it
// by its name:
//
//     IPtr<IKelSAXXmlV3> reader(kel::queryInterface<IKelSAXXmlV3>(sax.getParser()));
//     if (!reader->readFile(path, handler)) print(reader->getError()->getMessage());
//
// The older operations, their receivers and results are untouched by it. Ownership and threads: as
// for IKelSAXXml. What these operations use of the engine goes with the parser.
#pragma once

#include <cstddef>

#include "KelBasicTypes/kelstring.h"
#include "msxml_parser/ikelsaxxml.h"
#include "msxml_parser/ikelsaxxmlhandlerv2.h"

class BinInput;

// The failure of an operation of the third version in detail. The error object of every SAX parser has it.
class IKelSAXXmlErrorV2 : public virtual IKelSAXXmlError {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelSAXXmlErrorV2"; }

    // Where it is, from 1, the column in characters; 0: not in a particular position.
    virtual int getLine() = 0;
    virtual int getColumn() = 0;
    // What is wrong there, the message without its beginning: the engine's words in those of the current
    // translator. Replaces the content of `out` and returns it.
    virtual KelString& getReason(KelString& out) = 0;
};

class IKelSAXXmlV3 : public virtual IKelSAXXmlV2 {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelSAXXmlV3"; }

    // Error codes beside those of the first version, which are kFileNotReadable (a stream that fails
    // included) and kNoReader.
    enum ErrorCodeV3 : int {
        kNotWellFormed = 3,  // not well formed, or in an encoding that is not known or not the one declared
        kLimitExceeded = 8,  // elements nested more than kMaxDepth deep, or too much text out of entities
    };
    // Of elements, one within the other.
    static constexpr int kMaxDepth = 10'000;

    // These read a whole document and hand its events to `handler`, which is borrowed for the call. False,
    // with the error object set: the document was rejected, with the events before the error delivered.
    // Stopped by the handler: true. Memory that cannot be had: _com_error with E_OUTOFMEMORY; a call inside
    // an event of the same parser: E_UNEXPECTED. The parser can read again whatever the end was. A DOCTYPE is
    // read and its entities are expanded; nothing outside the document is read. The handler must not let go
    // of the parser. On Windows limits are the platform's where they are lower.
    virtual bool readFile(const KelString& path, IKelSAXXmlHandlerV2& handler) = 0;
    virtual bool readString(const KelString& text,
                            IKelSAXXmlHandlerV2& handler) = 0;  // a declared encoding is ignored
    // In the encoding that the document declares, else UTF-8, or UTF-16 with a byte-order mark. Borrowed.
    virtual bool readBytes(const void* bytes, std::size_t byteCount, IKelSAXXmlHandlerV2& handler) = 0;
    // The same from where the stream stands to its end, in constant memory however long it is. The stream is
    // neither positioned nor closed; where it stands afterwards is not determined. What it throws comes out.
    virtual bool readStream(BinInput& in, IKelSAXXmlHandlerV2& handler) = 0;

    // During an event: the parse ends with this event. At any other time: nothing happens.
    virtual void stop() = 0;
    // Whether the last parse was ended by stop.
    virtual bool wasStopped() = 0;

    // During an event: where it starts, the '<' of a tag, the first character of a text; on Windows where it
    // ends. From 1, the column in characters. At any other time: 0. The first question about a position costs
    // time in proportion to the text since the last one.
    virtual int getLine() = 0;
    virtual int getColumn() = 0;
};
