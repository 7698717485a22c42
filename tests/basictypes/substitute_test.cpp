#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "KelBasicTypes/substitute.h"
#include "tests/basictypes/printing.h"

namespace {

struct Case {
    const char* fault;
    const char16_t* text;
    std::vector<KelString> arguments;
    const char16_t* expected;
};

const KelString kA(u"A");
const KelString kB(u"Bee");
const KelString kC(u"C");
const KelString kNull;

TEST(Substitute, FixedFormPutsArgumentsInPlaceOfTheirNumbers) {
    const Case kCases[] = {
        {"the two spaces before the colon",
         u"Error while reading %1  : Line %2, column %3 : %4",
         {u"c:/a.xml", KelString(12), KelString(-3), u"why"},
         u"Error while reading c:/a.xml  : Line 12, column -3 : why"},
        {"no placeholder", u"plain % text", {kA}, u"plain % text"},
        {"order of numbers, neighbours", u"%3%1%2", {kA, kB, kC}, u"CABee"},
        {"null text", u"<%1|%2|%3>", {kA, kNull, kC}, u"<A||C>"},
        {"number beyond the arguments", u"<%1|%2>", {kA}, u"<A|>"},
        {"doubled percent", u"100%% of %1", {kA}, u"100%% of A"},
        {"second unit of a pair begins no pair", u"%%1 %1", {kA}, u"%%1 A"},
        {"trailing percent", u"%1%", {kA}, u"A%"},
        {"percent zero, percent letter", u"%0 %d %1", {kA}, u"%0 %d A"},
        {"two digits are one digit and text", u"%12", {kA}, u"A2"},
        {"argument texts are not scanned", u"%1 %2", {u"%2", kB}, u"%2 Bee"},
        {"empty template", u"", {kA}, u""},
        {"repeated number: every one where the last stands", u"%1 a %1 b", {kA}, u"%1 a AA b"},
        {"repeated number around another", u"%1-%2+%1.", {kA, kB}, u"%1-%2+ABee+A."},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.fault);
        std::vector<const KelString*> pointers;
        for (const KelString& argument : c.arguments) pointers.push_back(&argument);
        KelString text(c.text);
        kel::substitute(text, pointers);
        EXPECT_EQ(text, c.expected);
    }
}

TEST(Substitute, FixedFormHasTenArgumentsAndTenPlaceholders) {
    std::array<KelString, 10> texts;
    std::array<const KelString*, 10> arguments{};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        texts[i] = KelString(static_cast<int>(i));
        arguments[i] = &texts[i];
    }
    KelString text(u"%1%2%3%4%5%6%7%8%9%:%;");
    kel::substitute(text, arguments);
    EXPECT_EQ(text, u"0123456789%;");

    text = u"%:%9%8%7%6%5%4%3%2%1 %1 and %2";
    kel::substitute(text, arguments);
    EXPECT_EQ(text, u"9876543210 %1 and %2") << "placeholders after the tenth stay";

    const std::u16string lead(1000, u'x');
    text = lead + u"%1%3";
    kel::substitute(text, arguments);
    EXPECT_EQ(std::u16string(text.view()), lead + u"02") << "longer than what is set aside";

    arguments[1] = nullptr;
    text = u"%1|%2|%3";
    kel::substitute(text, arguments);
    EXPECT_EQ(text, u"0||2");
}

TEST(Substitute, CountedFormPutsEachArgumentIntoItsFirstMatch) {
    const std::vector<KelString> kTwelve(12, KelString(u"x"));
    const Case kCases[] = {
        {"same as the fixed form",
         u"Error while transforming  : Line %1, column %2 : %3",
         {KelString(1), KelString(2), u"why"},
         u"Error while transforming  : Line 1, column 2 : why"},
        {"only the first match", u"%1 %1", {kA}, u"A %1"},
        {"a doubled percent hides nothing", u"%%1", {kA}, u"%A"},
        {"earlier arguments are searched too", u"%1 %2", {u"<%2>", kB}, u"<Bee> %2"},
        {"no placeholder: the last unit goes", u"Line %1.", {kA, kB}, u"Line ABee"},
        {"no placeholder in one unit", u"x", {kA}, u"A"},
        {"no placeholder in no text", u"", {kA, kB}, u"Bee"},
        {"null argument", u"<%1>", {kNull}, u"<>"},
        {"percent sign alone at the end", u"ab%", {kA}, u"abA"},
        {"from 10 on the units digit is not looked at", u"%1%2%3%4%5%6%7%8%9 %19%18|%1?", kTwelve,
         u"xxxxxxxxx xx|x"},
        {"placeholder of 10 cut off by the end", u"%1%2%3%4%5%6%7%8%9 %1",
         std::vector<KelString>(10, KelString(u"y")), u"yyyyyyyyy y"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.fault);
        KelString text(c.text);
        kel::substitute(text, static_cast<std::int32_t>(c.arguments.size()), c.arguments.data());
        EXPECT_EQ(text, c.expected);
        EXPECT_EQ(text.c_str()[text.length()], 0);
    }
}

TEST(Substitute, CountedFormWithoutArgumentsChangesNothing) {
    for (const std::int32_t count : {0, -1}) {
        KelString text(u"%1");
        kel::substitute(text, count, nullptr);
        EXPECT_EQ(text, u"%1");
    }
}

}  // namespace
