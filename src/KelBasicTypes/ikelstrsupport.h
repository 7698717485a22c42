// Locale-aware text operations that a host may offer. Positions are relied upon.
// Threads: called from whatever thread uses strings. The operations must not call back into KelString
// operations that ask this very service.
#pragma once

#include <cstdint>
#include <string>

#include "framework/object/kelunknown.h"

class KelString;

class IKelStrSupport : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelStrSupport"; }

    virtual void reserved0() {}

    // 1. The 8-bit form of a NUL-terminated text, put into result in place of what it held; returns result.
    virtual std::string& toNarrow(const char16_t* text, std::string& result) = 0;

    // 2. Negative, zero or positive; both texts are NUL-terminated and never null.
    virtual std::int32_t compare(const char16_t* a, const char16_t* b) = 0;

    // 3. and 4. The class of the unit, by itself.
    virtual bool isSpace(char16_t unit) = 0;
    virtual bool isDigit(char16_t unit) = 0;

    virtual void reserved5() {}
    virtual void reserved6() {}

    // 7. to 9. In place; the length may change.
    virtual void normalise(KelString& text) = 0;
    virtual void toLower(KelString& text) = 0;
    virtual void toUpper(KelString& text) = 0;
};
