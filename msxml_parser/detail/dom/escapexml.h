// Escaping of names, texts and attribute values for the XML writer.
// Threads: no shared state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

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
    static constexpr std::size_t kBlock = 8;

    // Not 0 if one of the units is to be escaped. The compiler looks at all of them at once.
    [[nodiscard]] static unsigned short specialInBlock(const char16_t* units) noexcept {
        unsigned short found = 0;
        for (std::size_t i = 0; i < kBlock; ++i) {
            const char16_t unit = units[i];
            const bool isSpecial = (unit == u'&') | (unit == u'<') | (unit == u'>') | (unit == u'"');
            found = static_cast<unsigned short>(found | static_cast<unsigned short>(isSpecial));
        }
        return found;
    }
    // Most texts hold none, and are then copied as they are.
    [[nodiscard]] static bool holdsSpecial(std::u16string_view text) noexcept {
        if (text.size() >= kBlock) {
            const std::size_t last = text.size() - kBlock;
            for (std::size_t at = 0; at < last; at += kBlock) {
                if (specialInBlock(text.data() + at) != 0) return true;
            }
            return specialInBlock(text.data() + last) != 0;
        }
        // All four are below 64.
        constexpr std::uint64_t kSpecial = 1ull << u'&' | 1ull << u'<' | 1ull << u'>' | 1ull << u'"';
        std::uint64_t found = 0;
        for (const char16_t unit : text) found |= unit < 64 ? kSpecial >> unit : 0;
        return (found & 1) != 0;
    }
    [[nodiscard]] std::u16string_view escapeSpecial(std::u16string_view text);

    std::u16string from_;
    std::u16string to_;
};

}  // namespace msxml
