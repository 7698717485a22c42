#include "KelBasicTypes/message.h"

#include <atomic>
#include <mutex>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/keltrivialtranslator.h"
#include "framework/object/sptr.h"

namespace kel {

namespace {

// Several threads may make their first message at once. The lock is recursive, as a host's service may make
// messages itself while it is asked: they get what there is so far.
struct TranslatorSlot {
    std::recursive_mutex mutex;
    std::atomic<bool> isSettled{false};  // the service was asked, and there is a translator
    IPtr<IKelTranslator> current;
    bool isServiceAsked = false;
    bool isFromService = false;

    void reset() {
        isSettled = isServiceAsked = isFromService = false;
        current = nullptr;
    }
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
    if (theSlot.isSettled.load(std::memory_order_acquire)) return *theSlot.current;
    const std::lock_guard<std::recursive_mutex> lock(theSlot.mutex);
    const bool isOutermost = !theSlot.isServiceAsked;
    askServiceOnce(theSlot);  // also when a translator was set before: the service's goes first
    if (!theSlot.current) theSlot.current = SPtr<IKelTranslator>();
    if (!theSlot.current) theSlot.current = new KelTrivialTranslator;
    if (isOutermost) theSlot.isSettled.store(true, std::memory_order_release);
    return *theSlot.current;
}

void setCurrentTranslator(IKelTranslator* translator) {
    TranslatorSlot& theSlot = slot();
    const std::lock_guard<std::recursive_mutex> lock(theSlot.mutex);
    if (theSlot.isFromService) return;
    theSlot.current = translator;
    if (translator == nullptr) theSlot.isSettled.store(false, std::memory_order_release);
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
    slot().reset();
}

}  // namespace detail
}  // namespace kel
