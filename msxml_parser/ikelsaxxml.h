// The SAX parser: reads a file as a stream of events, in constant memory.
//
// Ownership: a parser comes with reference count 0; take it into an IPtr. The engine's reader outlives the
// parser by design: make one parser and let it parse many files. Threads: one at a time, the thread whose COM
// was initialised when the parser was made. Events come on the thread that calls parseFile, inside that call.
#pragma once

#include "KelBasicTypes/kelstring.h"
#include "framework/object/kelunknown.h"
#include "msxml_parser/ikelsaxxmlerror.h"
#include "msxml_parser/ikelsaxxmlhandler.h"

class IKelSAXXml : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelSAXXml"; }

    // Error codes of a SAX parser.
    enum ErrorCode : int {
        kFileNotReadable = 1,
        kNoReader = 5,
    };

    // False, with the error object set, when the file cannot be opened or there is no reader. A malformed
    // document returns true, with the events up to the fault delivered. An exception thrown by a receiver
    // ends the parse and leaves as it is; the parser can parse again.
    virtual bool parseFile(const KelString& path) = 0;

    // Events go to the receiver on top; a receiver may push another one during an event. Borrowed: it must
    // live until it is popped. Null is pushed too, and then the next event is the caller's fault.
    virtual void pushHandler(IKelSAXXmlHandler* handler) = 0;
    virtual void popHandler() = 0;  // an empty stack: nothing happens

    // The parser's own, as long-lived as the parser; a reference on it does not keep it.
    virtual IKelSAXXmlError* getError() = 0;
};

// The version that the component hands out; it adds no operations.
class IKelSAXXmlV2 : public virtual IKelSAXXml {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelSAXXmlV2"; }
};
