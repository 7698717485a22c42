#include "KelBasicTypes/keltrivialtranslator.h"

#include <array>

#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/substitute.h"

namespace {

// A key without a text leaves the message empty.
KelString& lookUpAnew(IKelTranslator& translator, KelString& result, const char* key) {
    result.makeEmpty();
    translator.lookUp(key, result);
    return result;
}

template <class... Arguments>
KelString& complete(IKelTranslator& translator, KelString& result, const char* key,
                    const Arguments&... arguments) {
    lookUpAnew(translator, result, key);
    const std::array<const KelString*, sizeof...(arguments)> list{&arguments...};
    kel::substitute(result, list);
    return result;
}

}  // namespace

KelString& KelTrivialTranslator::translateCounted(KelString& result, const char* key, std::int32_t count,
                                                  const KelString* arguments) {
    lookUpAnew(*this, result, key);
    kel::substitute(result, count, arguments);
    return result;
}

KelString& KelTrivialTranslator::translate6(KelString& result, const char* key, const KelString& a1,
                                            const KelString& a2, const KelString& a3, const KelString& a4,
                                            const KelString& a5, const KelString& a6) {
    return complete(*this, result, key, a1, a2, a3, a4, a5, a6);
}

KelString& KelTrivialTranslator::translate5(KelString& result, const char* key, const KelString& a1,
                                            const KelString& a2, const KelString& a3, const KelString& a4,
                                            const KelString& a5) {
    return complete(*this, result, key, a1, a2, a3, a4, a5);
}

KelString& KelTrivialTranslator::translate4(KelString& result, const char* key, const KelString& a1,
                                            const KelString& a2, const KelString& a3, const KelString& a4) {
    return complete(*this, result, key, a1, a2, a3, a4);
}

KelString& KelTrivialTranslator::translate3(KelString& result, const char* key, const KelString& a1,
                                            const KelString& a2, const KelString& a3) {
    return complete(*this, result, key, a1, a2, a3);
}

KelString& KelTrivialTranslator::translate2(KelString& result, const char* key, const KelString& a1,
                                            const KelString& a2) {
    return complete(*this, result, key, a1, a2);
}

KelString& KelTrivialTranslator::translate1(KelString& result, const char* key, const KelString& a1) {
    return complete(*this, result, key, a1);
}

KelString& KelTrivialTranslator::translate0(KelString& result, const char* key) {
    return lookUpAnew(*this, result, key);
}

bool KelTrivialTranslator::lookUp(const char* key, KelString& result) {
    result.assignNarrow(key);
    return true;
}
