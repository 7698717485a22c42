#include <gtest/gtest.h>

#include <set>
#include <string>

#include "framework/object/chainedtable.h"
#include "framework/object/kelclassdescription.h"

namespace {

struct Itself {
    std::uint32_t operator()(std::uint32_t key) const noexcept { return key; }
};
using Table = kel::ChainedTable<std::uint32_t, int, Itself>;

TEST(ChainedTable, TakesItsSizesFromTheSeries) {
    const struct {
        std::uint32_t after;
        std::uint32_t size;
    } kCases[] = {{0, 2},
                  {2, 3},
                  {6, 11},
                  {11, 17},
                  {99, 131},
                  {131, 257},
                  {257, 521},
                  {1073741826, 1073741827},
                  {0xFFFFFFFF, 1073741827}};
    for (const auto& c : kCases) {
        EXPECT_EQ(kel::nextTableSize(c.after), c.size) << c.after;
    }
}

TEST(ChainedTable, GrowsWhenFourFifthsAreReached) {
    Table table(6);
    const struct {
        std::uint32_t entries;
        std::size_t buckets;
    } kSteps[] = {{8, 11}, {9, 17}, {13, 17}, {14, 37}, {29, 37}, {30, 67}};
    std::uint32_t entries = 0;
    for (const auto& step : kSteps) {
        while (entries < step.entries) table.insertOrReplace(entries++, 0);
        EXPECT_EQ(table.bucketCount(), step.buckets) << step.entries << " entries";
    }
}

TEST(ChainedTable, FindsReplacesAndWalksEachEntryOnceThroughGrowthAndCollisions) {
    Table table(6);
    constexpr std::uint32_t kEntries = 500;
    for (std::uint32_t i = 0; i < kEntries; ++i) table.insertOrReplace(i * 11 * 17 * 37, static_cast<int>(i));
    table.insertOrReplace(0, -7);
    EXPECT_EQ(table.count(), kEntries);
    EXPECT_EQ(table.find(0)->value, -7);
    EXPECT_EQ(table.find(1), nullptr);
    std::set<std::uint32_t> seen;
    for (const auto* entry = table.first(); entry != nullptr; entry = table.after(*entry)) {
        EXPECT_TRUE(seen.insert(entry->key).second);
        EXPECT_EQ(table.find(entry->key), entry);
    }
    EXPECT_EQ(seen.size(), kEntries);
    EXPECT_EQ(Table(6).first(), nullptr);
}

TEST(ChainedTable, NewestEntryOfABucketComesFirst) {
    Table table(6);
    table.insertOrReplace(3, 1);
    table.insertOrReplace(14, 2);  // same bucket of 11
    EXPECT_EQ(table.first()->key, 14U);
    EXPECT_EQ(table.after(*table.first())->key, 3U);
}

TEST(NameHash, MultipliesBy33From5381OverUnsignedBytes) {
    EXPECT_EQ(kel::NameHash{}(""), 5381U);
    EXPECT_EQ(kel::NameHash{}("ab"), (5381U * 33 + 97) * 33 + 98);
    EXPECT_EQ(kel::NameHash{}("\xE9"), 5381U * 33 + 0xE9);
    EXPECT_EQ(kel::NameHash{}("IKelComponentContainer"), [] {
        std::uint32_t hash = 5381;
        for (const char c : std::string("IKelComponentContainer"))
            hash = hash * 33 + static_cast<unsigned>(c);
        return hash;
    }()) << "wraps at 32 bits";
}

}  // namespace
