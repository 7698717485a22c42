#include "KelBasicTypes/binio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "KelBasicTypes/assertion.h"
#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binnumbers.h"
#include "KelBasicTypes/kelstring.h"
#include "tempdirectory.h"

using namespace kel;
using kel::test::contentsOf;
using kel::test::TempDirectory;

namespace {

// A medium in memory that delivers and takes at most `step` bytes at a time.
class MemoryInput final : public BinInput {
public:
    explicit MemoryInput(std::string bytes, std::size_t step = 1 << 20)
        : bytes_(std::move(bytes)), step_(step) {
        setLength(static_cast<std::int64_t>(bytes_.size()));
    }
    std::size_t readRaw(void* buffer, std::size_t byteCount) override {
        requests_.push_back(byteCount);
        const std::size_t count = std::min({byteCount, step_, bytes_.size() - at_});
        std::memcpy(buffer, bytes_.data() + at_, count);
        at_ += count;
        return count;
    }
    std::int64_t tell() override { return static_cast<std::int64_t>(at_); }
    bool seek(std::int64_t position, bool fromStart) override {
        at_ = static_cast<std::size_t>(fromStart ? position
                                                 : static_cast<std::int64_t>(bytes_.size()) + position);
        return true;
    }
    bool good() const override { return true; }
    void close() override {}

    std::vector<std::size_t> requests_;

private:
    std::string bytes_;
    std::size_t step_;
    std::size_t at_ = 0;
};

class MemoryOutput final : public BinOutput {
public:
    std::size_t writeRaw(const void* buffer, std::size_t byteCount) override {
        const std::size_t count = std::min(byteCount, room_);
        bytes_.append(static_cast<const char*>(buffer), count);
        room_ -= count;
        runs_.push_back(count);
        return count;
    }
    std::size_t readRaw(void*, std::size_t) override { return 0; }
    std::int64_t tell() override { return static_cast<std::int64_t>(bytes_.size()); }
    bool seek(std::int64_t, bool) override { return false; }
    bool good() const override { return true; }
    void close() override {}

    std::string bytes_;
    std::vector<std::size_t> runs_;
    std::size_t room_ = 1 << 30;
};

// Its key stream depends on the position alone.
class PositionScrambler final : public BinIO_Scrambler {
public:
    PositionScrambler() { setScrambler(this); }
    PositionScrambler(const PositionScrambler&) = delete;
    PositionScrambler& operator=(const PositionScrambler&) = delete;
    ~PositionScrambler() override { setScrambler(nullptr); }
    void scramble(void* buffer, std::int64_t position, std::size_t byteCount) override {
        auto* bytes = static_cast<unsigned char*>(buffer);
        for (std::size_t i = 0; i < byteCount; ++i) {
            bytes[i] =
                static_cast<unsigned char>(bytes[i] ^ (0x5A + 7 * (static_cast<std::size_t>(position) + i)));
        }
    }
    void unscramble(void* buffer, std::int64_t position, std::size_t byteCount) override {
        scramble(buffer, position, byteCount);
    }
};

// What a value is after a stay in `width` bytes.
template <class T>
T cutTo(std::size_t width, T value) {
    if (width >= sizeof(T)) return value;
    const auto above = static_cast<unsigned>(8 * (8 - width));
    const auto bits = static_cast<std::uint64_t>(static_cast<std::int64_t>(value)) << above;
    if constexpr (std::is_signed_v<T>) return static_cast<T>(static_cast<std::int64_t>(bits) >> above);
    return static_cast<T>(bits >> above);
}

template <class T>
std::vector<T> sampleValues(std::size_t count) {
    std::mt19937_64 random(count * sizeof(T) + (std::is_signed_v<T> ? 1 : 0));
    std::vector<T> values(count);
    for (T& value : values) value = static_cast<T>(random());
    const T extremes[] = {0, 1, static_cast<T>(-1), std::numeric_limits<T>::min(),
                          std::numeric_limits<T>::max()};
    std::copy(std::begin(extremes), std::end(extremes), values.begin());
    return values;
}

constexpr std::size_t kCount =
    700;  // crosses chunk borders in every width but 1; odd widths split elements there

template <class T>
void writeEveryWidth(BinOutput& out) {
    const auto values = sampleValues<T>(kCount);
    for (std::size_t width = 1; width <= 8; ++width)
        ASSERT_TRUE(writeNumbers(out, values.data(), width, kCount));
}

template <class T>
void expectEveryWidth(BinInput& in) {
    const auto values = sampleValues<T>(kCount);
    for (std::size_t width = 1; width <= 8; ++width) {
        SCOPED_TRACE(testing::Message() << "width " << width << " of " << sizeof(T)
                                        << (std::is_signed_v<T> ? " signed" : " unsigned"));
        std::vector<T> expected = values;
        for (T& value : expected) value = cutTo(width, value);
        std::vector<T> read(kCount, static_cast<T>(0x55));
        ASSERT_TRUE(readNumbers(in, read.data(), width, kCount));
        ASSERT_EQ(read, expected);
    }
}

void writeEverything(BinOutput& out) {
    writeEveryWidth<std::int16_t>(out);
    writeEveryWidth<std::uint16_t>(out);
    ASSERT_TRUE(writeRecords(out, "abc", 1, 3));  // puts what follows at an odd position
    writeEveryWidth<std::int32_t>(out);
    writeEveryWidth<std::uint32_t>(out);
    writeEveryWidth<std::int64_t>(out);
    writeEveryWidth<std::uint64_t>(out);
    const std::string record(3000, 'r');
    ASSERT_TRUE(writeRecords(out, record.data(), 1500, 2));
}

void expectEverything(BinInput& in) {
    expectEveryWidth<std::int16_t>(in);
    expectEveryWidth<std::uint16_t>(in);
    char abc[4] = {};
    ASSERT_TRUE(readRecords(in, abc, 3, 1));
    EXPECT_STREQ(abc, "abc");
    expectEveryWidth<std::int32_t>(in);
    expectEveryWidth<std::uint32_t>(in);
    expectEveryWidth<std::int64_t>(in);
    expectEveryWidth<std::uint64_t>(in);
    std::string record(3000, ' ');
    ASSERT_TRUE(readRecords(in, record.data(), 1500, 2));
    EXPECT_EQ(record, std::string(3000, 'r'));
    char beyond = 0;
    EXPECT_FALSE(readRecords(in, &beyond, 1, 1));
}

}  // namespace

TEST(BinNumbers, StoreTheLowestBytesMostSignificantFirst) {
    MemoryOutput out;
    const std::int32_t word = 0x01020304;
    const std::int16_t minusTwo = -2;
    const std::uint16_t fffe = 0xFFFE;
    EXPECT_TRUE(writeNumbers(out, &word, 4, 1));
    EXPECT_TRUE(writeNumbers(out, &word, 2, 1));
    EXPECT_TRUE(writeNumbers(out, &minusTwo, 4, 1));
    EXPECT_TRUE(writeNumbers(out, &fffe, 3, 1));
    EXPECT_TRUE(out.flushBuffer());
    EXPECT_EQ(out.bytes_, std::string("\x01\x02\x03\x04\x03\x04\xFF\xFF\xFF\xFE\x00\xFF\xFE", 13));
}

TEST(BinNumbers, TakeTheirSignFromTheFirstByte) {
    const std::string bytes("\xFF\xFE\xFF\xFE\x80\x80", 6);
    MemoryInput in(bytes);
    std::int16_t s16 = 0;
    std::uint16_t u16 = 0;
    std::int32_t s32 = 0;
    std::uint32_t u32 = 0;
    EXPECT_TRUE(readNumbers(in, &s16, 2, 1) && readNumbers(in, &u16, 2, 1));
    EXPECT_TRUE(readNumbers(in, &s32, 1, 1) && readNumbers(in, &u32, 1, 1));
    EXPECT_EQ(s16, -2);
    EXPECT_EQ(u16, 65534);
    EXPECT_EQ(s32, -128);
    EXPECT_EQ(u32, 128U);
}

TEST(BinNumbers, ComeBackInEveryWidthHoweverTheMediumCutsThem) {
    MemoryOutput out;
    writeEverything(out);
    ASSERT_TRUE(out.flushBuffer());
    for (const std::size_t step : {std::size_t{1}, std::size_t{3}, std::size_t{1023}, std::size_t{1} << 20}) {
        SCOPED_TRACE(step);
        MemoryInput in(out.bytes_, step);
        expectEverything(in);
    }
}

TEST(BinNumbers, ComeBackFromAFileThroughAScrambler) {
    const TempDirectory directory;
    const KelString path(directory.file("numbers.bin"));
    {
        const PositionScrambler scrambler;
        BinOutputFile out(path);
        writeEverything(out);
        EXPECT_TRUE(out.flush());
    }
    {
        const PositionScrambler scrambler;
        BinInputFile in(path);
        EXPECT_EQ(in.length(), static_cast<std::int64_t>(contentsOf(directory.file("numbers.bin")).size()));
        expectEverything(in);
    }
    BinInputFile plain(path);
    std::int16_t first = 0;
    EXPECT_TRUE(readNumbers(plain, &first, 1, 1));
    EXPECT_NE(first, 0) << "the file is not scrambled";
}

TEST(BinNumbers, RejectImpossibleWidthsAndEnds) {
    MemoryInput in("12345");
    std::int32_t values[2] = {};
    EXPECT_FALSE(readNumbers(in, values, 0, 1));
    EXPECT_FALSE(readNumbers(in, values, 9, 1));
    EXPECT_FALSE(readNumbers(in, values, 8, std::numeric_limits<std::size_t>::max() / 4));
    EXPECT_EQ(in.tell(), 0);
    EXPECT_TRUE(readNumbers(in, values, 3, 0));
    EXPECT_FALSE(readNumbers(in, values, 3, 2)) << "the second element has only two bytes";
    EXPECT_EQ(values[0], 0x313233);
    MemoryOutput out;
    EXPECT_FALSE(writeNumbers(out, values, 9, 1));
    EXPECT_FALSE(writeRecords(out, values, 8, std::numeric_limits<std::size_t>::max() / 4));
}

TEST(BinInput, AsksForWholeChunksAndNeverReadsAhead) {
    MemoryInput in(std::string(2000, 'x'));
    std::vector<std::uint32_t> values(400);
    ASSERT_TRUE(readNumbers(in, values.data(), 3, 400));
    EXPECT_EQ(in.requests_, (std::vector<std::size_t>{1024, 2, 174}))
        << "1024 bytes hold 341 elements and a third";
    EXPECT_EQ(in.tell(), 1200);
}

TEST(BinOutput, FlushesWhenFullOrWhenARunHasTooLittleRoom) {
    MemoryOutput out;
    const std::string bytes(2048, 'b');
    EXPECT_TRUE(writeRecords(out, bytes.data(), 1, 768));
    EXPECT_TRUE(out.runs_.empty());
    EXPECT_TRUE(writeRecords(out, bytes.data(), 1, 1));  // 256 bytes are still free
    EXPECT_TRUE(out.runs_.empty());
    EXPECT_TRUE(writeRecords(out, bytes.data(), 1, 1));
    EXPECT_EQ(out.runs_, (std::vector<std::size_t>{769}));
    EXPECT_TRUE(writeRecords(out, bytes.data(), 1, 1023));
    EXPECT_EQ(out.runs_, (std::vector<std::size_t>{769, 1024}));
    const std::int32_t word = 7;
    for (int i = 0; i < 256; ++i) EXPECT_TRUE(writeNumbers(out, &word, 4, 1));
    EXPECT_EQ(out.runs_, (std::vector<std::size_t>{769, 1024, 772}))
        << "after 193 words fewer than 256 are free";
}

TEST(BinOutput, LendsItsBuffer) {
    MemoryOutput out;
    EXPECT_TRUE(writeRecords(out, std::string(768, 'a').data(), 768, 1));
    EXPECT_EQ(out.directBuffer(5000).size(), 256U) << "as much as a run of elements needs";
    EXPECT_TRUE(out.bytes_.empty());
    EXPECT_TRUE(writeRecords(out, std::string(132, 'a').data(), 132, 1));
    const auto room = out.directBuffer(5000);
    EXPECT_EQ(out.bytes_.size(), 900U);
    ASSERT_EQ(room.size(), 1024U);
    EXPECT_EQ(out.directBuffer(10).size(), 10U);
    std::fill_n(room.begin(), 1024, std::uint8_t{'d'});
    EXPECT_TRUE(out.commitDirect(1024));
    EXPECT_EQ(out.bytes_, std::string(900, 'a') + std::string(1024, 'd'));
    out.room_ = 0;
    EXPECT_TRUE(out.commitDirect(0));
    EXPECT_TRUE(writeRecords(out, "ab", 1, 2));
    EXPECT_FALSE(out.flushBuffer());
    EXPECT_TRUE(out.flushBuffer()) << "nothing waits any more";
}

TEST(BinIO, WordsOfMagicAndVersion) {
    constexpr BinIO_Version version(3, 7);
    static_assert(version.word() == 775 && version.majorNumber() == 3 && version.minorNumber() == 7);
    static_assert(BinIO_Version(-5, 3).word() == -5 && BinIO_Version(-5, 3).majorNumber() == -1);
    static_assert(BinIO_Version(0).majorNumber() == 0 && BinIO_Version(0, 9).word() == 9);
    static_assert(BinIO_Version(-70000).majorNumber() == -1);
    static_assert(BinIO_Version(-1).isCompatibleWith(BinIO_Version(-256)));
    static_assert(!BinIO_Version(-1).isCompatibleWith(BinIO_Version(-257)));
    static_assert(!BinIO_Version(-1).isCompatibleWith(BinIO_Version(0)));
    std::ostringstream text;
    text << version << ", " << BinIO_Version(-1);
    EXPECT_EQ(text.str(), "3 7, -1 255");

    MemoryOutput out;
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(writeWord(out, version.word()));
    EXPECT_TRUE(out.flushBuffer());
    MemoryInput in(out.bytes_);
    EXPECT_EQ(peekWord(in), 775);
    EXPECT_TRUE(readCompatibleVersion(in, BinIO_Version(768)));
    EXPECT_FALSE(readIdenticalVersion(in, BinIO_Version(768)));
    EXPECT_TRUE(readIdenticalVersion(in, version));
    EXPECT_FALSE(readCompatibleVersion(in, BinIO_Version(4, 7)));
    EXPECT_EQ(peekWord(in), -1);
}

TEST(BinIO, AWrongMagicIsAnAssertionAndIsKept) {
    static std::string raised;
    raised.clear();
    const auto before = setAssertionCallback([](const char* expression, const char* path, std::int32_t line) {
        raised += std::string(expression) + "|" + path + "|" + std::to_string(line);
    });
    MemoryInput in(std::string("\x01\x02\x03\x04\x01\x02\x03\x04\x01", 9));
    std::int32_t magic = 0;
    EXPECT_TRUE(readMagic(in, 0x01020304, magic));
    EXPECT_EQ(raised, "");
    EXPECT_TRUE(readMagic(in, 5, magic));
    EXPECT_EQ(magic, 0x01020304);
    EXPECT_EQ(raised, "magic_ == magic|src/KelBasicTypes/binio|578");
    EXPECT_FALSE(readMagic(in, 5, magic));
    setAssertionCallback(before);
}

TEST(BinFile, WithoutAFileDeliversAndTakesNothing) {
    const TempDirectory directory;
    BinInputFile in(KelString(directory.file("absent")));
    BinOutputFile out(KelString(directory.file("absent/too")));
    std::int32_t word = 1;
    EXPECT_FALSE(in.good() || in.seek(0, true) || readNumbers(in, &word, 4, 1));
    EXPECT_EQ(in.length(), 0);
    EXPECT_TRUE(writeNumbers(out, &word, 4, 1)) << "still in the buffer";
    EXPECT_FALSE(out.flush() || out.good() || out.seek(0, true));
    in.close();
    out.close();
}

TEST(BinFile, WritesReadsBackAndOverwritesInPlace) {
    const TempDirectory directory;
    const std::string path = directory.file("block");
    BinOutputFile out{KelString(path)};
    std::int32_t word = 0;
    EXPECT_TRUE(writeWord(out, 0) && writeWord(out, 0x41424344));
    EXPECT_EQ(out.tell(), 0) << "both wait in the buffer";
    EXPECT_TRUE(out.seek(0, true) && writeWord(out, 8) && out.flush());
    EXPECT_EQ(contentsOf(path), std::string("\0\0\0\x08"
                                            "ABCD",
                                            8));
    EXPECT_TRUE(out.seek(-4, false));
    EXPECT_EQ(out.readRaw(&word, 4), 4U);
    EXPECT_EQ(std::memcmp(&word, "ABCD", 4), 0);
    EXPECT_TRUE(writeRecords(out, "!", 1, 1));
    out.close();
    EXPECT_EQ(contentsOf(path), std::string("\0\0\0\x08"
                                            "ABCD!",
                                            9));

    BinInputFile in(std::fopen(path.c_str(), "rb"));
    EXPECT_EQ(in.length(), 9);
    EXPECT_TRUE(in.seek(0, false));
    EXPECT_EQ(in.tell(), 9);
    EXPECT_EQ(in.readRaw(&word, 4), 0U);
    EXPECT_TRUE(in.seek(1, true) && in.good());
    EXPECT_TRUE(readNumbers(in, &word, 4, 1));
    EXPECT_EQ(word, 0x841);
}
