// Escaping of names, texts and attribute values for the XML writer.
// Threads: no shared state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "KelBasicTypes/detail/lanes.h"
#include "KelBasicTypes/kelstring.h"

// Replaces & < > " by their entities, in place, skipping some that look escaped already; not every text comes
// out well formed (see behaviour.md, "Escaping"). Linear in the length. Returns true.
bool escapeXml(KelString& text);

namespace msxml {

// The same without touching the text, for many texts: most hold nothing to escape. Keeps its own buffers
// between calls.
class XmlEscaper final {
public:
    // The escaped text: `text` itself where nothing is to be escaped, else valid until the next call.
    [[nodiscard]] std::u16string_view escape(std::u16string_view text);

    // Copies a text in which nothing is to be escaped, and returns the end of the copy; null where something
    // is: what was written then is to be overwritten. There must be room for the text.
    [[nodiscard]] static char16_t* copyPlain(std::u16string_view text, char16_t* to) noexcept {
        if (text.size() >= kel::detail::kVectorLength) return copyVectors(text, to);
        if (text.size() >= kLanes) return copyLanes(text, to);
        for (const char16_t unit : text) {
            if (isSpecial(unit)) return nullptr;
            *to++ = unit;
        }
        return to;
    }

private:
    static constexpr std::size_t kLanes = 4;

    [[nodiscard]] static constexpr bool isSpecial(char16_t unit) noexcept {
        return unit == u'"' || unit == u'&' || unit == u'<' || unit == u'>';
    }
    // In both the last piece overlaps the one before.
    [[nodiscard]] static char16_t* copyVectors(std::u16string_view text, char16_t* to) noexcept {
        using namespace kel::detail;
        const std::size_t last = text.size() - kVectorLength;
        Vector special{};
        const auto copyAt = [&](std::size_t at) {
            const Vector units = loadVector(text.data() + at);
            storeVector(units, to + at);
            special |= areEither(units, u'"', u'&') | areEither(units, u'<', u'>');
        };
        for (std::size_t at = 0; at < last; at += kVectorLength) copyAt(at);
        copyAt(last);
        return isAnySet(special) ? nullptr : to + text.size();
    }
    [[nodiscard]] static char16_t* copyLanes(std::u16string_view text, char16_t* to) noexcept {
        using namespace kel::detail;
        const std::size_t last = text.size() - kLanes;
        for (const std::size_t at : {std::size_t{0}, last}) {
            const std::uint64_t units = loadLanes(text.data() + at);
            storeLanes(units, to + at);
            if (hasEither(units, u'"', u'&') || hasEither(units, u'<', u'>')) return nullptr;
        }
        return to + text.size();
    }

    std::u16string from_;
    std::u16string to_;
};

}  // namespace msxml
