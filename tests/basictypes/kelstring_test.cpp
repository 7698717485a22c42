#include <gtest/gtest.h>

#include <bit>
#include <stdexcept>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "tests/basictypes/printing.h"

namespace {

TEST(KelString, NullAndEmptyAreEqualButNotTheSame) {
    const KelString null;
    const KelString empty(u"");
    EXPECT_TRUE(null.isNull());
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(null, empty);
    EXPECT_EQ(null, u"");
    EXPECT_EQ(null.compare(empty), 0);
    EXPECT_EQ(null.length(), 0U);
    EXPECT_EQ(null.c_str()[0], 0);
    EXPECT_STREQ(null.narrow(), "");
    EXPECT_TRUE(KelString(static_cast<const char*>(nullptr)).isNull());
    EXPECT_TRUE(KelString(static_cast<const char16_t*>(nullptr)).isNull());
    EXPECT_FALSE(KelString(std::u16string_view()).isNull());

    KelString text(u"text");
    text.assign(null);
    EXPECT_TRUE(text.isNull());
    EXPECT_EQ(text.capacity(), 0U) << "the storage went back";
}

TEST(KelString, WidensBytesAsSignedValues) {
    const KelString text(std::string_view("a\x7F\x80\xE9\xFF"));
    EXPECT_EQ(text, u"a\x007F\xFF80\xFFE9\xFFFF");
    EXPECT_STREQ(text.narrow(), "a\x7F") << "without a host's conversion only ASCII comes back";
    const KelString wide(u"a\x007F\x0080\x00E9\x20AC");
    EXPECT_STREQ(wide.narrow(), "a\x7F");
    EXPECT_EQ(KelString("abc", 2), u"ab");
    EXPECT_EQ(KelString("abc", 0), u"");
    EXPECT_EQ(KelString("abc", -1), u"abc");
    EXPECT_EQ(KelString().appendNarrow("\xC3").appendNarrow("z"), u"\xFFC3z");
}

TEST(KelString, EndsAtTheFirstNul) {
    for (std::size_t size = 0; size <= 13; ++size) {  // the scan goes by blocks, which may overlap at the end
        for (std::size_t nulAt = 0; nulAt <= size; ++nulAt) {
            std::u16string units(size, u'\x8000');  // its top bit set, as the scan's marks are
            if (nulAt < size) units[nulAt] = 0;
            KelString text{std::u16string_view(units)};
            EXPECT_EQ(text.length(), nulAt) << size;
            text.append(std::u16string_view(units));
            EXPECT_EQ(text.length(), 2 * nulAt) << size;
        }
    }
    EXPECT_EQ(KelString(u"ab\0cd", 5), u"ab");
    EXPECT_EQ(KelString(u"abcd", 3), u"abc");
    EXPECT_EQ(KelString(u"abcd", KelString::kUpToNul), u"abcd");
    EXPECT_EQ(KelString(std::string_view("ab\0cd", 5)), u"ab");
    KelString text(u"ab");
    text.append(u'\0').append(u'c').append(u'd').append(u'e');
    EXPECT_EQ(text, u"abcde") << "a NUL adds nothing";
}

TEST(KelString, BorrowsForLengthZeroAndCopiesPassItOn) {
    char16_t storage[] = u"lent";
    KelString borrowing(storage, 0);
    const KelString copy(borrowing);
    KelString assigned;
    assigned = borrowing;
    storage[0] = u'b';
    EXPECT_TRUE(borrowing.isBorrowed());
    EXPECT_EQ(borrowing, u"bent");
    EXPECT_EQ(copy, u"bent");
    EXPECT_EQ(assigned, u"lent") << "an assignment copies";

    storage[2] = 0;  // the length follows the storage
    EXPECT_EQ(borrowing.length(), 2U);
    borrowing.append(u"fore");
    EXPECT_EQ(borrowing, u"before");
    EXPECT_EQ(std::u16string_view(storage), u"be") << "lent storage is never written to";
}

TEST(KelString, ReusesItsBufferAndGivesItBackOnClear) {
    KelString text(u"a text of some length");
    const char16_t* const buffer = text.c_str();
    for (const char16_t* const shorter : {u"a text of other length", u"shorter", u""}) {
        if (std::u16string_view(shorter).size() > text.capacity()) continue;
        text.assign(shorter);
        EXPECT_EQ(text.c_str(), buffer);
        EXPECT_EQ(text, shorter);
    }
    text.makeEmpty();
    EXPECT_EQ(text, u"");
    EXPECT_EQ(text.append(u"again").c_str(), buffer);
    text.clear();
    EXPECT_TRUE(text.isNull());
    EXPECT_EQ(text.capacity(), 0U);
}

TEST(KelString, TakesPartsOfItself) {
    KelString text(u"0123456789");
    text.assign(text.view().substr(3));
    EXPECT_EQ(text, u"3456789");
    for (int i = 0; i < 4; ++i) text.append(text);
    EXPECT_EQ(text.length(), 7U * 16);
    text.append(text.view().substr(0, 2));
    EXPECT_EQ(text.view().substr(7 * 16 - 1), u"934");
    const KelString& alias = text;
    text = alias;
    EXPECT_EQ(text.length(), 7U * 16 + 2);
}

TEST(KelString, MovesLeaveNothingBehind) {
    KelString source(u"text");
    const char16_t* const buffer = source.c_str();
    KelString target(std::move(source));
    EXPECT_TRUE(source.isNull());  // NOLINT: the point of the test
    EXPECT_EQ(target.c_str(), buffer);
    KelString other(u"another");
    other = std::move(target);
    EXPECT_EQ(other, u"text");
    KelString& alias = other;
    other = std::move(alias);
    EXPECT_EQ(other, u"text");
}

TEST(KelString, RejectsATextThatIsTooLongAndKeepsWhatItHas) {
    KelString text(u"kept");
    EXPECT_THROW(text.reserve(KelString::kMaxUnits + 1), std::length_error);
    EXPECT_EQ(text, u"kept");
}

TEST(KelString, KeepsALentNarrowFormUntilTheTextChanges) {
    KelString text(u"wide");
    text.borrowNarrow("lent");
    EXPECT_STREQ(text.narrow(), "lent");
    const KelString copy(text);
    EXPECT_STREQ(copy.narrow(), "lent");
    text.append(u"r");
    EXPECT_STREQ(text.narrow(), "wider");
    const KelString second(text);
    EXPECT_STREQ(second.narrow(), "wider");
    text.assign(u"w");
    EXPECT_STREQ(text.narrow(), "w") << "an own form is rebuilt on every request";
}

TEST(KelString, WritesNumbers) {
    const KelNumberFormat kPlain;
    const KelNumberFormat kWidth5{false, false, "5"};
    const KelNumberFormat kPrecise{false, false, "8.3"};
    const KelNumberFormat kExponent{true, true, ".2"};
    const KelNumberFormat kGeneral{true, false, nullptr};
    const KelNumberFormat kLongFlags{true, false, "+000000000000050.20"};
    const struct {
        KelString text;
        const char16_t* expected;
    } kCases[] = {
        {KelString(-2147483647 - 1), u"-2147483648"},
        {KelString(4294967295U), u"4294967295"},
        {KelString(-9223372036854775807LL - 1), u"-9223372036854775808"},
        {KelString(42L), u"42"},
        {KelString(42, kWidth5), u"   42"},
        {KelString(42L, kWidth5), u"   42"},
        {KelString(-1234567890123LL, KelNumberFormat{false, false, "16"}), u"  -1234567890123"},
        {KelString(7, kPlain), u"7"},
        {KelString(12.5), u"12.500000"},
        {KelString(1e10), u"10000000000.000000"},
        {KelString(1.5e10), u"1.500000e+10"},
        {KelString(-2e10), u"-2.000000e+10"},
        {KelString(3.14159, kPrecise), u"   3.142"},
        {KelString(12345.0, kExponent), u"1.23e+04"},
        {KelString(0.0001, kGeneral), u"0.0001"},
        {KelString(1.5, kLongFlags), u"+00000000000000000000000000000000000000000000001.5"},
        {KelString(1e39, kPlain), u"999999999999999939709166371603178586112.000000"},
        {KelString(1, KelNumberFormat{false, false, "-40"}), u"1                                       "},
    };
    for (const auto& c : kCases) EXPECT_EQ(c.text, c.expected);

    // The buffer of a floating-point number doubles until the text fits, and its last byte is always the end.
    for (const int width : {39, 40, 41, 79, 80, 81, 160, 320}) {
        const KelString text(2.5,
                             KelNumberFormat{false, false, ("-" + std::to_string(width) + ".1").c_str()});
        const bool isCut = width % 40 == 0 && std::has_single_bit(static_cast<unsigned>(width) / 40);
        EXPECT_EQ(text.length(), static_cast<std::size_t>(width - (isCut ? 1 : 0)));
    }
}

TEST(KelString, ComparesByUnsignedUnitsAndPrefixFirst) {
    kel::detail::resetStringSupport();
    const KelString kAscending[] = {KelString(), u"A", u"AB", u"B", u"a", u"\x00E9", u"\xD800", u"\xFFE9"};
    for (std::size_t i = 0; i < std::size(kAscending); ++i) {
        for (std::size_t j = 0; j < std::size(kAscending); ++j) {
            EXPECT_EQ(kAscending[i] < kAscending[j], i < j) << i << " " << j;
            EXPECT_EQ(kAscending[i] > kAscending[j], i > j) << i << " " << j;
            EXPECT_EQ(kAscending[i] == kAscending[j], i == j) << i << " " << j;
        }
    }
}

TEST(KelString, FallsBackToAsciiForCaseAndClasses) {
    kel::detail::resetStringSupport();
    const KelString text(u"aZ@[`{09 \t\x00E9\x00C9\x0660\x3000");
    EXPECT_EQ(text.toLower(), u"az@[`{09 \t\x00E9\x00C9\x0660\x3000");
    EXPECT_EQ(text.toUpper(), u"AZ@[`{09 \t\x00E9\x00C9\x0660\x3000");
    EXPECT_EQ(text.mapWhitespace(u'_'), text) << "only a host knows what a space is";
    std::string digits;
    std::string spaces;
    for (std::int32_t i = -1; i <= static_cast<std::int32_t>(text.length()); ++i) {
        digits += text.isDigit(i) ? '1' : '0';
        spaces += text.isSpace(i) ? '1' : '0';
    }
    EXPECT_EQ(digits, "0000000110000000");
    EXPECT_EQ(spaces, "0000000001100000");
    EXPECT_FALSE(KelString().isDigit(0));
    EXPECT_TRUE(KelString().toLower().isNull());
}

TEST(KelString, ReplacesARange) {
    const KelString text(u"0123456789");
    const struct {
        std::size_t start;
        std::size_t end;
        const char16_t* expected;
    } kCases[] = {
        {0, 0, u"<>0123456789"}, {3, 5, u"012<>56789"},     {0, 10, u"<>"},
        {9, 12, u"012345678<>"}, {12, 12, u"0123456789<>"},
    };
    for (const auto& c : kCases) EXPECT_EQ(text.replaceRange(c.start, c.end, u"<>"), c.expected);
    EXPECT_EQ(KelString().replaceRange(0, 3, u"new"), u"new");
}

}  // namespace
