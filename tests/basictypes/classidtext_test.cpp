// Identifiers are written down, typed in and used as keys.
#include "KelBasicTypes/classidtext.h"

#include <gtest/gtest.h>

#include <array>
#include <unordered_set>

namespace {

using kel::classIdOf;
using kel::classIdText;

constexpr KelClassId kId{0x88BC5A8E, 0xCC38, 0x4C51, {0xB3, 0xF1, 0x90, 0x80, 0x05, 0x66, 0xE0, 0xDF}};

TEST(ClassIdText, ReadsBackWithBracesAndWithout) {
    EXPECT_EQ(classIdText(kId), "{88BC5A8E-CC38-4C51-B3F1-90800566E0DF}");
    EXPECT_EQ(classIdText(kId, kel::ClassIdBraces::Without), "88BC5A8E-CC38-4C51-B3F1-90800566E0DF");
    EXPECT_EQ(classIdText({}, kel::ClassIdBraces::Without), "00000000-0000-0000-0000-000000000000");
    EXPECT_EQ(classIdOf("{88BC5A8E-CC38-4C51-B3F1-90800566E0DF}"), kId);
    EXPECT_EQ(classIdOf("88bc5a8e-cc38-4c51-b3f1-90800566e0df"), kId);
}

TEST(ClassIdText, AnythingElseIsRejected) {
    const std::string good = classIdText(kId);
    for (std::size_t at = 0; at < good.size(); ++at) {
        // A sign or a prefix that a number parser takes must not get by, nor a space.
        for (const char wrong : {'-', '+', ' ', 'x', 'G', '\0', '{'}) {
            std::string text = good;
            if (text[at] == wrong) continue;
            text[at] = wrong;
            EXPECT_EQ(classIdOf(text), std::nullopt) << text;
        }
        std::string shorter = good;
        shorter.erase(at, 1);
        const bool isWhole = classIdOf(shorter).has_value();
        EXPECT_FALSE(isWhole) << shorter;
    }
    for (const std::string& text :
         std::initializer_list<std::string>{"", "{}", ' ' + good, good + ' ', '{' + good + '}'})
        EXPECT_EQ(classIdOf(text), std::nullopt) << text;
}

TEST(ClassId, OrdersAsItsTextAndHashesEveryByte) {
    std::unordered_set<std::size_t> hashes{std::hash<KelClassId>{}(kId)};
    for (std::size_t byte = 0; byte < 16; ++byte) {
        std::string text = classIdText(kId, kel::ClassIdBraces::Without);
        const std::size_t digit = 2 * byte + (byte > 3) + (byte > 5) + (byte > 7) + (byte > 9);
        text[digit] = text[digit] == '0' ? '1' : '0';
        const KelClassId other = classIdOf(text).value();
        EXPECT_TRUE(hashes.insert(std::hash<KelClassId>{}(other)).second) << byte;
        EXPECT_EQ(kId < other, classIdText(kId) < classIdText(other)) << byte;
        EXPECT_NE(kId, other);
    }
}

}  // namespace
