// The translator of a component whose host offers none: the key is the text. Threads: any, if lookUp is.
// Derive from it to translate: lookUp alone decides the text, the rest completes it. A class that derives is
// looked up as the translator that it is, under this name; one that wants a name of its own derives from
// kel::Implements as well and says which class it is.
#pragma once

#include "KelBasicTypes/ikeltranslator.h"
#include "framework/object/implements.h"

class KelTrivialTranslator : public kel::Implements<KelTrivialTranslator, IKelTranslator> {
public:
    static constexpr const char* kClassName = "KelTrivialTranslator";

    KelString& translateCounted(KelString& result, const char* key, std::int32_t count,
                                const KelString* arguments) override;
    KelString& translate6(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                          const KelString& a3, const KelString& a4, const KelString& a5,
                          const KelString& a6) override;
    KelString& translate5(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                          const KelString& a3, const KelString& a4, const KelString& a5) override;
    KelString& translate4(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                          const KelString& a3, const KelString& a4) override;
    KelString& translate3(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                          const KelString& a3) override;
    KelString& translate2(KelString& result, const char* key, const KelString& a1,
                          const KelString& a2) override;
    KelString& translate1(KelString& result, const char* key, const KelString& a1) override;
    KelString& translate0(KelString& result, const char* key) override;
    [[nodiscard]] bool hasTranslations() const override { return false; }
    bool lookUp(const char* key, KelString& result) override;
};
