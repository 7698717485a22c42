// What the component `wordcount` offers: its users include this header and link nothing.
#pragma once

#include <cstdint>

#include "KelBasicTypes/kelstring.h"
#include "framework/object/kelunknown.h"

// Counts the words of texts. New ones have count 0. Threads: one at a time for each object.
class IKelWordCounter : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelWordCounter"; }

    // 0. A word is what stands between spaces, in lower case. Words shorter than the setting
    // "Words/Shortest", in units, do not count.
    virtual void add(const KelString& text) = 0;

    // 1. Of all texts so far.
    [[nodiscard]] virtual std::int64_t wordCount() const = 0;

    // 2. The rank-th most frequent word, from 1; of equally frequent ones the first in the alphabet. False,
    // and nothing changed, beyond the last.
    virtual bool frequentWord(std::int32_t rank, KelString& word, std::int64_t& count) const = 0;
};
