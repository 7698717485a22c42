// Streams over memory, and what streams report of themselves.
#include "KelBasicTypes/binmemory.h"

#include <gtest/gtest.h>

#include <array>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binnumbers.h"
#include "KelBasicTypes/kelfilewrite.h"
#include "KelBasicTypes/utf8.h"
#include "tests/basictypes/tempdirectory.h"

namespace {

TEST(BinMemory, OverwritesGrowsAndReadsBackInPlace) {
    BinOutputMemory out;
    ASSERT_TRUE(kel::writeWord(out, 0x01020304) && kel::writeWord(out, 0x05060708));
    EXPECT_TRUE(out.bytes().empty()) << "it waits in the buffer";
    ASSERT_TRUE(out.seek(2, true));
    ASSERT_TRUE(kel::writeWord(out, -1));
    ASSERT_TRUE(out.seek(-1, false));
    ASSERT_TRUE(kel::writeWord(out, 0));
    ASSERT_TRUE(out.flush());
    EXPECT_EQ(out.bytes(), (std::vector<std::uint8_t>{1, 2, 255, 255, 255, 255, 7, 0, 0, 0, 0}));
    for (const auto& [position, fromStart] : {std::pair{12, true}, {-1, true}, {1, false}, {-12, false}})
        EXPECT_FALSE(out.seek(position, fromStart)) << position;
    EXPECT_EQ(out.tell(), 11) << "a failed seek moves nothing";
    ASSERT_TRUE(out.seek(6, true));
    std::array<std::uint8_t, 9> read{};
    EXPECT_EQ(out.readRaw(read.data(), read.size()), 5U);
    EXPECT_EQ(read[0], 7);
    out.close();
    EXPECT_FALSE(out.good() || out.flush() || out.seek(0, true));
    EXPECT_EQ(out.writeRaw("x", 1), 0U);

    BinInputMemory in(out.bytes());
    EXPECT_EQ(in.length(), 11);
    EXPECT_TRUE(in.seek(-4, false));
    EXPECT_FALSE(in.seek(12, true));
    EXPECT_EQ(kel::peekWord(in), 0);
    EXPECT_EQ(in.tell(), 7);
    in.close();
    EXPECT_EQ(in.readRaw(read.data(), 1), 0U);
}

TEST(BinOutput, CountsBytesAndTransfersAndKnowsMemory) {
    const kel::test::TempDirectory folder;
    BinOutputMemory memory;
    BinOutputFile file(KelString(kel::fromUtf8(folder.file("numbers"))));
    EXPECT_TRUE(memory.isInMemory());
    EXPECT_FALSE(file.isInMemory());
    const std::vector<std::int32_t> numbers(1000);
    for (BinOutput* const out : {static_cast<BinOutput*>(&memory), static_cast<BinOutput*>(&file)}) {
        EXPECT_EQ(out->firstCounter() + out->secondCounter(), 0U);
        ASSERT_TRUE(kel::writeNumbers(*out, numbers.data(), 4, numbers.size()));
        EXPECT_EQ(out->firstCounter(), 3072U) << "what waits does not count";
        EXPECT_EQ(out->secondCounter(), 3U);
        ASSERT_TRUE(out->flush());
        EXPECT_EQ(out->firstCounter(), 4000U);
        EXPECT_EQ(out->secondCounter(), 4U);
    }
}

TEST(BinOutput, SaysWhetherWritersMaySeek) {
    BinOutputMemory out;
    out.setOption(false);
    KelFileWrite writer(out);
    EXPECT_FALSE(writer.finish());
    EXPECT_EQ(kel::toUtf8(writer.failureMessage().view()), "byte 0: cannot write the length back");
    EXPECT_TRUE(out.flush() && out.bytes().empty()) << "nothing was begun that cannot be finished";
}

}  // namespace
