#include "KelBasicTypes/message.h"

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/keltrivialtranslator.h"
#include "framework/object/sptr.h"

namespace kel {

namespace {

struct TranslatorSlot {
    IPtr<IKelTranslator> current;
    bool isServiceAsked = false;
    bool isFromService = false;
};

// Never destroyed: messages may be made while the process ends.
TranslatorSlot& slot() {
    static auto& theSlot = *new TranslatorSlot;
    return theSlot;
}

void askServiceOnce(TranslatorSlot& theSlot) {
    if (theSlot.isServiceAsked) return;
    theSlot.isServiceAsked = true;
    const SPtr<IKelTranslatorService> service;
    if (!service) return;
    const IPtr<IKelTranslator> ours(service->translatorFor(componentIdentity().classId));
    if (!ours) return;
    theSlot.current = ours;
    theSlot.isFromService = true;
}

}  // namespace

IKelTranslator& currentTranslator() {
    TranslatorSlot& theSlot = slot();
    askServiceOnce(theSlot);  // also when a translator was set before: the service's goes first
    if (!theSlot.current) theSlot.current = SPtr<IKelTranslator>();
    if (!theSlot.current) theSlot.current = new KelTrivialTranslator;
    return *theSlot.current;
}

void setCurrentTranslator(IKelTranslator* translator) {
    if (!slot().isFromService) slot().current = translator;
}

KelString& translate(KelString& result, const char* key) {
    return currentTranslator().translate0(result, key);
}

KelString& translate(KelString& result, const char* key, const KelString& a1) {
    return currentTranslator().translate1(result, key, a1);
}

KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2) {
    return currentTranslator().translate2(result, key, a1, a2);
}

KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                     const KelString& a3) {
    return currentTranslator().translate3(result, key, a1, a2, a3);
}

KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                     const KelString& a3, const KelString& a4) {
    return currentTranslator().translate4(result, key, a1, a2, a3, a4);
}

KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                     const KelString& a3, const KelString& a4, const KelString& a5) {
    return currentTranslator().translate5(result, key, a1, a2, a3, a4, a5);
}

KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                     const KelString& a3, const KelString& a4, const KelString& a5, const KelString& a6) {
    return currentTranslator().translate6(result, key, a1, a2, a3, a4, a5, a6);
}

KelString& translateCounted(KelString& result, const char* key, std::int32_t count,
                            const KelString* arguments) {
    return currentTranslator().translateCounted(result, key, count, arguments);
}

namespace detail {

void resetTranslator() {
    slot() = {};
}

}  // namespace detail
}  // namespace kel
