// What went wrong in an operation of a schema or a compiled style sheet, which it belongs to.
// Ownership: part of its object and as long-lived; a reference on it does not keep it. It describes the last
// operation that reports by it, which clears it first. Threads: its object's.
#pragma once

#include "KelBasicTypes/kelstring.h"
#include "framework/object/kelunknown.h"

class IKelXmlError : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelXmlError"; }

    // What getCode returns.
    enum Code : int {
        kNone = 0,
        kFileNotReadable = 1,   // missing, a folder, or not permitted; a stream that failed
        kNotWellFormed = 3,     // a document that is not well formed, or in an encoding that is not known
        kNoEngine = 5,          // the engine could not make what is needed
        kTransformFailed = 6,   // the engine failed to transform, or the result is not a document
        kNotCompiled = 7,       // there is no schema or style sheet yet
        kLimitExceeded = 8,     // a document beyond a limit of the engine: depth, text out of entities
        kNotValid = 9,          // a document that does not fit the schema
        kRejected = 10,         // a file or text that is no schema or style sheet, or has errors
        kInvalidArgument = 11,  // not a document of this component, or not a name
    };
    virtual int getCode() = 0;  // a Code

    // Where it is, from 1, the column in characters; 0: not in a particular position.
    virtual int getLine() = 0;
    virtual int getColumn() = 0;

    // They replace the content of `out` and return it. The message is in the words of the current translator.
    // The reason is the engine's part of it, in the same words as far as they are ours and not those of a
    // library or the system; where it has causes in several files, each is a line that begins with "FILE,
    // line N: " in every language.
    virtual KelString& getMessage(KelString& out) = 0;
    virtual KelString& getReason(KelString& out) = 0;
};
