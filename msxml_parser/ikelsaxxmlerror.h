// The record of the last failure of the SAX parser it belongs to, which fills and clears it.
// Ownership: part of its parser and as long-lived; references taken on it count but do not keep it. The count
// starts at 1, the parser's own.
// Threads: the parser's.
#pragma once

#include "KelBasicTypes/kelstring.h"
#include "framework/object/kelunknown.h"

class IKelSAXXmlError : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelSAXXmlError"; }

    virtual IKelSAXXmlError* setCode(int code) = 0;               // returns this object
    virtual const int& getCode() = 0;                             // 0: no failure
    virtual KelString& setMessage(const KelString& message) = 0;  // copies; returns the stored message
    virtual KelString& getMessage() = 0;                          // the stored message; empty: no failure
    virtual void clear() = 0;                                     // code 0, empty message
};
