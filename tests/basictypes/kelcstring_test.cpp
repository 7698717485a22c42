#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "tests/basictypes/printing.h"

namespace {

TEST(KelCString, FindsAtOrAfterTheStart) {
    const struct {
        const char* fault;
        const char* text;
        const char* needle;
        std::int32_t start;
        std::int32_t expected;
    } kCases[] = {
        {"first match", "abcabc", "bc", 0, 1},
        {"start on the match", "abcabc", "bc", 4, 4},
        {"start past the last match", "abcabc", "bc", 5, -1},
        {"whole text", "abc", "abc", 0, 0},
        {"needle longer than the text", "ab", "abc", 0, -1},
        {"needle longer comes before the start's check", "ab", "abc", -1, -1},
        {"empty needle wherever the start is", "ab", "", 99, 0},
        {"empty needle with a negative start", "ab", "", -1, 0},
        {"empty needle in an empty text", "", "", 5, 0},
        {"start at the end", "ab", "b", 2, -1},
        {"start past the end", "ab", "b", 3, -1},
        {"false start of a match", "aab", "ab", 0, 1},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.fault);
        EXPECT_EQ(KelCString(c.text).find(c.needle, c.start), c.expected);
    }
}

TEST(KelCString, ReplacesEveryOccurrenceOnce) {
    const struct {
        const char* text;
        const char* from;
        const char* to;
        const char* expected;
    } kCases[] = {
        {"a&b&c", "&", "&amp;", "a&amp;b&amp;c"},
        {"aaa", "aa", "a", "aa"},
        {"abab", "ab", "", ""},
        {"abc", "x", "y", "abc"},
        {"abc", "", "y", "abc"},
        {"", "", "y", ""},
        {"", "a", "y", ""},
        {"abc", "abcd", "y", "abc"},
    };
    for (const auto& c : kCases) {
        KelCString text(c.text);
        EXPECT_EQ(text.replaceAll(c.from, c.to), c.expected) << c.text << " " << c.from;
    }
}

TEST(KelCString, ReadsNumbersAndSaysWhatIsWrong) {
    EXPECT_EQ(KelCString().toDouble(), 0.0);
    EXPECT_EQ(KelCString("").toFloat(), 0.0F);
    EXPECT_EQ(KelCString(" 2.5x").toDouble(), 2.5);
    EXPECT_EQ(KelCString("-0.25").toFloat(), -0.25F);
    const auto failureOf = [](auto convert) -> std::string {
        try {
            convert();
        } catch (const std::invalid_argument& e) {
            return std::string("invalid_argument: ") + e.what();
        } catch (const std::out_of_range& e) {
            return std::string("out_of_range: ") + e.what();
        }
        return "none";
    };
    EXPECT_EQ(failureOf([] { (void)KelCString("x").toFloat(); }), "invalid_argument: invalid stof argument");
    EXPECT_EQ(failureOf([] { (void)KelCString(" ").toDouble(); }), "invalid_argument: invalid stod argument");
    EXPECT_EQ(failureOf([] { (void)KelCString("1e99").toFloat(); }),
              "out_of_range: stof argument out of range");
    EXPECT_EQ(failureOf([] { (void)KelCString("1e999").toDouble(); }),
              "out_of_range: stod argument out of range");
}

TEST(KelCString, EditsByBytes) {
    EXPECT_EQ(KelCString(" \t\n a b \r\n").trim(), "a b");
    EXPECT_EQ(KelCString(" \t ").trim(), "");
    EXPECT_EQ(KelCString().trim(), "");
    EXPECT_EQ(KelCString("aZ1\xE9").toUpper(), "AZ1\xE9");
    EXPECT_EQ(KelCString().toUpper(), "");
    EXPECT_TRUE(KelCString("prefix").startsWith("pre"));
    EXPECT_TRUE(KelCString("prefix").startsWith(""));
    EXPECT_FALSE(KelCString("pre").startsWith("prefix"));
    EXPECT_EQ(KelCString("AbC").compareIgnoreCase("aBc"), 0);
    EXPECT_LT(KelCString("AB").compareIgnoreCase("abc"), 0);
    EXPECT_GT(KelCString("b").compareIgnoreCase("ABC"), 0);
    EXPECT_EQ(KelCString("low bytes").assignLowBytes(u"a\x01E9\x20AC"), "a\xE9\xAC");
    EXPECT_EQ(KelCString().assignLowBytes(u"ab\x0100"
                                          u"cd"),
              "ab")
        << "a low byte of 0 ends the text";
    EXPECT_EQ(KelCString(std::string_view("ab\0cd", 5)).length(), 2U);

    KelCString text("0123456789");
    text.append(text.view().substr(5)).append(text.view());
    EXPECT_EQ(text, "012345678956789012345678956789");
    text.assign(text.view().substr(28));
    EXPECT_EQ(text, "89");
    const KelCString copy = text;
    KelCString moved = std::move(text);
    EXPECT_EQ(copy, moved);
    KelCString target("before");
    target = std::move(moved);
    EXPECT_EQ(copy, target);
    EXPECT_TRUE(moved.isEmpty());  // NOLINT(bugprone-use-after-move): what a move leaves
}

TEST(KelCString, ReadsLinesUntilTheStreamEnds) {
    std::istringstream in("one\n\nthree");
    KelCString line("old");
    std::string lines;
    while (line.readLine(in)) lines += std::string(line.view()) + "|";
    EXPECT_EQ(lines, "one||three|");
    EXPECT_TRUE(line.isEmpty());
}

}  // namespace
