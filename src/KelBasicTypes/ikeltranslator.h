// Turns message keys into texts for people and completes them with arguments. The host may offer one.
// Every operation but the last two puts its text into `result`, in place of what it held, and returns it; no
// argument may be `result` itself. Keys are 8-bit texts, the English templates of the messages (see
// substitute.h). Threads: called from whatever thread reports something.
#pragma once

#include <cstdint>

#include "framework/object/kelclassid.h"
#include "framework/object/kelunknown.h"

class KelString;

class IKelTranslator : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelTranslator"; }

    // 0. `arguments` are `count` strings in a row.
    virtual KelString& translateCounted(KelString& result, const char* key, std::int32_t count,
                                        const KelString* arguments) = 0;
    // 1. to 7. As translateCounted, with as many arguments as the name says.
    virtual KelString& translate6(KelString& result, const char* key, const KelString& a1,
                                  const KelString& a2, const KelString& a3, const KelString& a4,
                                  const KelString& a5, const KelString& a6) = 0;
    virtual KelString& translate5(KelString& result, const char* key, const KelString& a1,
                                  const KelString& a2, const KelString& a3, const KelString& a4,
                                  const KelString& a5) = 0;
    virtual KelString& translate4(KelString& result, const char* key, const KelString& a1,
                                  const KelString& a2, const KelString& a3, const KelString& a4) = 0;
    virtual KelString& translate3(KelString& result, const char* key, const KelString& a1,
                                  const KelString& a2, const KelString& a3) = 0;
    virtual KelString& translate2(KelString& result, const char* key, const KelString& a1,
                                  const KelString& a2) = 0;
    virtual KelString& translate1(KelString& result, const char* key, const KelString& a1) = 0;
    virtual KelString& translate0(KelString& result, const char* key) = 0;  // no substitution: % stays

    // 8. Whether there is any text other than the keys.
    [[nodiscard]] virtual bool hasTranslations() const = 0;

    // 9. The text for a key, not completed. False when there is none; result is then as it was.
    virtual bool lookUp(const char* key, KelString& result) = 0;
};

// Offered by a host that has a translator for each component.
class IKelTranslatorService : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelTranslatorService"; }

    virtual void reserved0() {}

    // 1. Borrowed; null if there is none for this component.
    virtual IKelTranslator* translatorFor(const KelClassId& componentClassId) = 0;
};
