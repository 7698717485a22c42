#include "engine/text/utf.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "engine/text/block.h"

namespace {

using engine::text::toUtf16;
using engine::text::toUtf8;
using namespace std::string_literals;

struct UtfCase {
    const char* fault;
    std::string utf8;
    std::u16string utf16;
};

const std::array kLossless{
    UtfCase{"empty text", "", u""},
    UtfCase{"zero inside", "a\0b"s, u"a\0b"s},
    UtfCase{"borders of one and two bytes", "\x7F\xC2\x80\xDF\xBF", u"\u007F\u0080\u07FF"},
    UtfCase{"borders of three bytes", "\xE0\xA0\x80\xEF\xBF\xBF", u"\u0800\uFFFF"},
    UtfCase{"pairs", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
    UtfCase{"high surrogate alone", "\xED\xA0\x80x", u"\xD800x"},
    UtfCase{"low surrogate alone, then high", "\xED\xB0\x80\xED\xAF\xBF", u"\xDC00\xDBFF"},
};

// Every text stands at every offset around the border of a block, where the fast path ends.
TEST(Utf, ConvertsBothWaysWithoutLossAtEveryOffset) {
    for (const UtfCase& c : kLossless) {
        for (std::size_t before = 0; before < 34; ++before) {
            for (const std::size_t after : {0u, 1u, 15u, 16u, 33u}) {
                SCOPED_TRACE(c.fault + " after "s + std::to_string(before));
                const std::string utf8 = std::string(before, 'a') + c.utf8 + std::string(after, 'z');
                const std::u16string utf16 =
                    std::u16string(before, u'a') + c.utf16 + std::u16string(after, u'z');
                EXPECT_EQ(toUtf16(utf8), utf16);
                EXPECT_EQ(toUtf8(utf16), utf8);
            }
        }
    }
}

// Only one of the two is in use on a processor.
TEST(Utf, PortableAndVectorUnitsAgree) {
    using engine::text::PortableUnits;
    using engine::text::Units;
    const std::u16string text = u"az\x7F!09~A";
    for (std::size_t at = 0; at <= text.size(); ++at) {
        for (const char16_t unit : {u'\u0000', u'\u0080', u'\u00FF', u'\u0100', u'\u7F41', u'\uFFFF'}) {
            SCOPED_TRACE(std::to_string(at) + " " + std::to_string(unit));
            std::u16string units = text;
            if (at < units.size()) units[at] = unit;
            EXPECT_EQ(Units::load(units.data()).isAscii(), PortableUnits::load(units.data()).isAscii());
            const std::string bytes(units.begin(), units.end());
            std::u16string widened(8, u' ');
            std::u16string expected(8, u' ');
            Units::widened(bytes.data()).store(widened.data());
            PortableUnits::widened(bytes.data()).store(expected.data());
            EXPECT_EQ(widened, expected);
        }
    }
    std::string narrow(8, ' ');
    Units::load(text.data() + 4, text.data()).storeNarrowed(narrow.data(), narrow.data() + 4);
    std::string expected(8, ' ');
    PortableUnits::load(text.data() + 4, text.data()).storeNarrowed(expected.data(), expected.data() + 4);
    EXPECT_EQ(narrow, expected);
}

TEST(Utf, BytesThatBelongToNoSequenceBecomeReplacementCharacters) {
    const std::array<UtfCase, 6> cases{
        UtfCase{"stray continuation", "a\x80z", u"a\uFFFDz"},
        UtfCase{"overlong", "\xC0\xAFz", u"\uFFFD\uFFFDz"},
        UtfCase{"overlong in three", "\xE0\x80\xAFz", u"\uFFFD\uFFFD\uFFFDz"},
        UtfCase{"cut off at the end", "ab\xE2\x82", u"ab\uFFFD\uFFFD"},
        UtfCase{"beyond the last plane", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        UtfCase{"cut off by another character", "\xF0\x9F\x98z", u"\uFFFD\uFFFD\uFFFDz"},
    };
    for (const UtfCase& c : cases) {
        SCOPED_TRACE(c.fault);
        EXPECT_EQ(toUtf16(c.utf8), c.utf16);
        EXPECT_EQ(toUtf16(std::string(14, 'x') + c.utf8), std::u16string(14, u'x') + c.utf16);
    }
}

}  // namespace
