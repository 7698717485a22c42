// Messages for people: the current translator, and the short way to ask it.
// Threads: the translator is not locked; the first message is expected while the component is being loaded.
#pragma once

#include <cstddef>
#include <cstdint>

#include "KelBasicTypes/ikeltranslator.h"
#include "KelBasicTypes/kelstring.h"

namespace kel {

// Settled on first use and then kept: what the host's translator service has for this component, else the one
// that was set before, else the host's translator, else a KelTrivialTranslator. Borrowed until
// setCurrentTranslator.
[[nodiscard]] IKelTranslator& currentTranslator();

// Takes a reference of its own. A translator from the host's translator service is never replaced. Null: the
// next use looks for the host's translator again (its translator service is asked once in the process).
void setCurrentTranslator(IKelTranslator* translator);

// Marks a key that is no argument of `translate`, for the tool that collects the texts to be translated.
template <std::size_t length>
constexpr const char (&messageKey(const char (&key)[length]) noexcept)[length] {
    return key;
}

// The message into result, which is returned; no argument may be `result`.
KelString& translate(KelString& result, const char* key);
KelString& translate(KelString& result, const char* key, const KelString& a1);
KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2);
KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                     const KelString& a3);
KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                     const KelString& a3, const KelString& a4);
KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                     const KelString& a3, const KelString& a4, const KelString& a5);
KelString& translate(KelString& result, const char* key, const KelString& a1, const KelString& a2,
                     const KelString& a3, const KelString& a4, const KelString& a5, const KelString& a6);
KelString& translateCounted(KelString& result, const char* key, std::int32_t count,
                            const KelString* arguments);

}  // namespace kel
