// Escaping against the procedure that defines it, inserting in the middle of the text as it goes.
#include "msxml_parser/detail/dom/escapexml.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <string_view>

namespace {

std::string oracle(std::string text) {
    constexpr std::string_view characters = "&<>\"";
    constexpr std::array<std::string_view, 4> entities{"&amp;", "&lt;", "&gt;", "&quot;"};
    std::size_t i = 0;
    while (i < 4) {
        const char c = characters[i];
        const std::string_view ent = entities[i];
        const std::size_t len = ent.size();
        std::size_t n = text.size();
        for (std::size_t pos = 0; pos < n; ++pos) {
            if (text[pos] != c) continue;
            bool agreed = false;
            if (pos + len < n) {
                i = 1;
                while (i < len && text[pos + i] == ent[i]) ++i;
                agreed = i == len;
            }
            if (!agreed) {
                text.replace(pos, 1, ent);
                n += len - 1;
            }
            pos += len - 1;
        }
        ++i;
    }
    return text;
}

std::u16string widen(std::string_view text) {
    return {text.begin(), text.end()};
}

std::string escaped(std::string_view text) {
    KelString string(text);
    EXPECT_TRUE(escapeXml(string));
    const std::u16string_view units = string.view();
    return {units.begin(), units.end()};
}

struct Case {
    const char* fault;
    const char* in;
    const char* out;
};

constexpr Case kCases[] = {
    {"nothing to escape", "it's", "it's"},
    {"less-than stays", "a<b", "a&lt;b"},
    {"ampersand at the end", "a&", "a&amp;"},
    {"all four", "a<b>c\"d\"", "a&lt;b&gt;c&quot;d&quot;"},
    {"pass of < not skipped after a compared &", "x & y < z", "x &amp; y < z"},
    {"passes go on after &amp;", "a&amp;b<c", "a&amp;b<c"},
    {"pass of > skipped too", "1 > 0 & 2 < 3", "1 &gt; 0 &amp; 2 < 3"},
    {"entity recognised at the very end", "&amp;", "&amp;amp;"},
    {"<lt; not taken as escaped", "<lt;x", "<lt;x"},
    {"comparison made without enough room", "&&&&&&x<y", "&amp;&amp;&amp;&amp;&amp;&amp;x<y"},
};

TEST(EscapeXml, KeepsItsKnownResults) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.fault);
        EXPECT_EQ(oracle(c.in), c.out);
        EXPECT_EQ(escaped(c.in), c.out);
    }
}

struct Sweep {
    std::string_view alphabet;
    std::size_t length;
};

// All characters; and those of one entity with one more, long enough to hold the entity and something behind
// it.
constexpr Sweep kSweeps[] = {
    {"&<>\"ampltgquos;x", 4}, {"&amp;<", 7}, {"<lt;>x", 6}, {">gt;\"x", 6}, {"\"quot;>", 7}};

// Every text over the alphabet up to the length.
TEST(EscapeXml, AgreesWithTheProcedureOnEveryShortText) {
    msxml::XmlEscaper escaper;
    for (const auto& [alphabet, maxLength] : kSweeps) {
        std::size_t count = 1;
        for (std::size_t length = 1; length <= maxLength; ++length) {
            count *= alphabet.size();
            for (std::size_t number = 0; number < count; ++number) {
                std::string text;
                for (std::size_t rest = number, i = 0; i < length; ++i, rest /= alphabet.size()) {
                    text += alphabet[rest % alphabet.size()];
                }
                ASSERT_EQ(escaper.escape(widen(text)), widen(oracle(text))) << text;
            }
        }
    }
}

// Units are looked at in blocks: one that needs escaping must be found at every offset in them.
TEST(EscapeXml, FindsACharacterAtEveryOffset) {
    for (std::size_t length = 1; length < 40; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            for (const char special : {'&', '<', '>', '"', '\''}) {
                std::string text(length, 'b');
                text[at] = special;
                ASSERT_EQ(escaped(text), oracle(text));
                std::u16string copy(length, u'\0');
                const bool isCopied = msxml::XmlEscaper::copyPlain(widen(text), copy.data()) != nullptr;
                ASSERT_EQ(isCopied, special == '\'') << text;
                ASSERT_TRUE(!isCopied || copy == widen(text)) << text;
            }
        }
    }
}

// Longer ones out of pieces that make comparisons end at every index.
TEST(EscapeXml, AgreesWithTheProcedureOnLongTexts) {
    constexpr std::array<std::string_view, 24> pieces{
        "&",    "<",     ">",      "\"", "&amp;", "<lt;",  ">gt;", "\"quot;",
        "&a",   "&am",   "&amp",   "<l", "<lt",   ">g",    ">gt",  "\"q",
        "\"qu", "\"quo", "\"quot", "x",  "amp;",  "quot;", ";",    "some text "};
    std::mt19937 random(20240607);
    std::uniform_int_distribution<std::size_t> pick(0, pieces.size() - 1);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        const std::size_t length = 1 + pick(random) * 4;
        while (text.size() < length) text += pieces[pick(random)];
        ASSERT_EQ(escaped(text), oracle(text)) << text;
    }
}

// A cost that grows with the square would run into the test's time limit here.
TEST(EscapeXml, TakesMegabytesOfEachCharacter) {
    for (const char c : std::string_view("&<>\"")) {
        const std::string text(8 << 20, c);
        EXPECT_EQ(escaped(text).size(), text.size() * oracle(std::string(1, c)).size());
    }
}

}  // namespace
