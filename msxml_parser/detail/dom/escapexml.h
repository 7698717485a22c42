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

// The same without touching the text. Keeps its own buffers between calls.
class XmlEscaper final {
public:
    // The escaped text: `text` itself where nothing is to be escaped, else valid until the next call.
    [[nodiscard]] std::u16string_view escape(std::u16string_view text) {
        return holdsSpecial(text) ? escapeSpecial(text) : text;
    }

private:
    [[nodiscard]] static bool holdsSpecialAt(const char16_t* four) noexcept {
        const std::uint64_t lanes = kel::detail::loadLanes(four);
        return kel::detail::hasEither(lanes, u'"', u'&') || kel::detail::hasEither(lanes, u'<', u'>');
    }
    // Most texts hold none, and are then copied as they are.
    [[nodiscard]] static bool holdsSpecial(std::u16string_view text) noexcept {
        constexpr std::size_t kAtOnce = 4;
        if (text.size() < kAtOnce) return text.find_first_of(u"&<>\"") != text.npos;
        const std::size_t last = text.size() - kAtOnce;
        for (std::size_t at = 0; at < last; at += kAtOnce) {
            if (holdsSpecialAt(text.data() + at)) return true;
        }
        return holdsSpecialAt(text.data() + last);
    }
    [[nodiscard]] std::u16string_view escapeSpecial(std::u16string_view text);

    std::u16string from_;
    std::u16string to_;
};

}  // namespace msxml
