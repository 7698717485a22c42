// Data-model files: what is written reads back, and what is damaged is rejected with its position and at a
// cost that follows its size.
#include "KelBasicTypes/datamodel.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>

#include "KelBasicTypes/binmemory.h"
#include "KelBasicTypes/kelfileread.h"
#include "KelBasicTypes/kelfilewrite.h"
#include "KelBasicTypes/utf8.h"
#include "framework/object/iptr.h"
#include "framework/object/kelclassid.h"
#include "tests/basictypes/tempdirectory.h"

namespace {

using kel::DataFormat;
using kel::DataKind;
using kel::DataRecord;
using kel::DataTag;
using kel::dataTag;
using Bytes = std::vector<std::uint8_t>;

constexpr DataTag kShelf = dataTag("shlf");
constexpr DataTag kTitle = dataTag("titl");
constexpr DataTag kYears = dataTag("year");
constexpr KelClassId kId{0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};

// One of everything; what lies in the inner block is 8000 bytes long, so that skipping it seeks.
void writeShelf(IKelDataModelWriter& writer) {
    const std::int64_t years[] = {std::numeric_limits<std::int64_t>::min(), -1, 1815};
    const double widths[] = {-0.5, std::numeric_limits<double>::infinity(), 5e-324};
    writer.beginBlock(kShelf, BinIO_Version(3, 7));
    writer.writeText(kTitle, u"Emma \U0001F600 \xD800");
    writer.beginBlock(dataTag("innr"), BinIO_Version(1, 0));
    writer.writeBytes(dataTag("blob"), Bytes(8000, 0xA5).data(), 8000);
    writer.endBlock();
    writer.writeIntegers(kYears, years, 3);
    writer.writeReals(dataTag("wdth"), widths, 3);
    writer.writeBool(dataTag("lent"), true);
    writer.writeClassId(dataTag("clid"), kId);
    writer.endBlock();
    writer.writeInteger(dataTag("last"), 42);
}

Bytes fileOf(const std::function<void(IKelDataModelWriter&)>& write) {
    BinOutputMemory out;
    KelFileWrite writer(out);
    write(writer);
    EXPECT_TRUE(writer.finish()) << kel::toUtf8(writer.failureMessage().view());
    return out.bytes();
}

// Reads everything there is, as a program does that knows all tags. What is read becomes text.
std::string readAll(IKelDataModelReader& reader) {
    std::string log;
    std::size_t depth = 0;
    for (DataRecord record;;) {
        if (!reader.next(record)) {
            if (reader.hasFailed() || depth == 0) return log;
            --depth;
            EXPECT_EQ(reader.leaveBlock(), !reader.hasFailed());
            log += ')';
            continue;
        }
        log += kel::dataTagText(record.tag) + ' ';
        bool truth = false;
        KelString text;
        Bytes bytes;
        std::vector<std::int64_t> integers;
        std::vector<double> reals;
        KelClassId id;
        switch (record.kind) {
            case DataKind::Block:
                if (reader.enterBlock()) {
                    ++depth;
                    log += '(' + std::to_string(record.version.word()) + ' ';
                }
                break;
            case DataKind::Bool:
                if (reader.readBool(truth)) log += truth ? "yes " : "no ";
                break;
            case DataKind::Integers:
                if (reader.readIntegers(integers))
                    for (const std::int64_t value : integers) log += std::to_string(value) + ' ';
                break;
            case DataKind::Reals:
                if (reader.readReals(reals))
                    for (const double value : reals) log += std::to_string(value) + ' ';
                break;
            case DataKind::Text:
                if (reader.readText(text)) log += kel::toUtf8(text.view()) + ' ';
                break;
            case DataKind::Bytes:
                if (reader.readBytes(bytes)) log += std::to_string(bytes.size()) + " bytes ";
                break;
            case DataKind::ClassId:
                if (reader.readClassId(id)) log += id == kId ? "ours " : "other ";
                break;
        }
    }
}

struct Reading {
    std::string log;
    std::string failure;
    std::int64_t position;
};

Reading read(const Bytes& file, bool isSeekable = true) {
    BinInputMemory in(file);
    in.setOption(isSeekable);
    KelFileRead reader(in);
    std::string log = readAll(reader);
    return {std::move(log), kel::toUtf8(reader.failureMessage().view()), reader.failurePosition()};
}

// Over the bytes at `at`, most significant first.
Bytes patched(Bytes file, std::size_t at, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i)
        file.at(at + i) = static_cast<std::uint8_t>(value >> (8 * (width - 1 - i)));
    return file;
}

TEST(DataModel, ReadsBackWhatWasWritten) {
    const Bytes file = fileOf(writeShelf);
    const std::string expected =
        "shlf (775 titl Emma \xF0\x9F\x98\x80 \xED\xA0\x80 innr (256 blob 8000 bytes )"
        "year -9223372036854775808 -1 1815 wdth -0.500000 inf 0.000000 lent yes clid ours )last 42 ";
    for (const bool isSeekable : {true, false}) {
        const Reading reading = read(file, isSeekable);
        EXPECT_EQ(reading.log, expected);
        EXPECT_EQ(reading.failure, "");
        EXPECT_EQ(reading.position, -1);
    }
}

// The bytes are a contract: files outlive the programs that wrote them.
TEST(DataModel, FileHasExactlyTheseBytes) {
    const Bytes file = fileOf([](IKelDataModelWriter& writer) {
        writer.beginBlock(kShelf, BinIO_Version(3, 7));
        writer.writeText(kTitle, u"\u00E9");
        writer.endBlock();
    });
    const Bytes expected{'K', 'E', 'L', 'D', 0, 0, 1, 0, 0, 0, 0, 0,  0, 0,   0, 30,  // header
                         's', 'h', 'l', 'f', 1, 0, 0, 0, 0, 0, 0, 18, 0, 0,   3, 7,   // block, version 3.7
                         't', 'i', 't', 'l', 5, 0, 0, 0, 0, 0, 0, 2,  0, 0xE9};
    EXPECT_EQ(file, expected);
}

TEST(DataModel, ReaderSkipsWhatItDoesNotKnowOrWant) {
    Bytes file = fileOf(writeShelf);
    file = patched(file, 16 + 16 + 4, 200, 1);  // the title's kind, from a later version
    for (const bool isSeekable : {true, false}) {
        BinInputMemory in(file);
        in.setOption(isSeekable);
        KelFileRead reader(in);
        DataRecord record;
        ASSERT_TRUE(reader.next(record));
        EXPECT_EQ(record.version, BinIO_Version(3, 7));
        EXPECT_FALSE(reader.leaveBlock()) << "not entered";
        ASSERT_TRUE(reader.enterBlock());
        EXPECT_FALSE(reader.enterBlock()) << "entered already";
        ASSERT_TRUE(reader.next(record));
        EXPECT_EQ(kel::dataKindText(record.kind), "kind 200");
        ASSERT_TRUE(reader.next(record)) << "over the unknown kind";
        ASSERT_TRUE(reader.next(record)) << "over a whole block";
        EXPECT_EQ(record.tag, kYears);
        std::vector<std::int64_t> years;
        ASSERT_TRUE(reader.readIntegers(years));
        EXPECT_FALSE(reader.readIntegers(years)) << "once";
        ASSERT_TRUE(reader.leaveBlock()) << "from the middle";
        ASSERT_TRUE(reader.next(record));
        std::int64_t last = 0;
        ASSERT_TRUE(reader.readInteger(last));
        EXPECT_EQ(last, 42);
        EXPECT_FALSE(reader.next(record));
        EXPECT_FALSE(reader.hasFailed());
    }
}

TEST(DataModel, EveryTruncationIsRejectedWithAPositionInTheFile) {
    const Bytes file = fileOf([](IKelDataModelWriter& writer) {
        writer.beginBlock(kShelf, BinIO_Version(1, 0));
        writer.writeText(kTitle, u"Emma");
        writer.writeInteger(kYears, 1815);
        writer.endBlock();
    });
    for (std::size_t size = 0; size < file.size(); ++size) {
        SCOPED_TRACE(size);
        for (const bool isSeekable : {true, false}) {
            const Reading cut =
                read(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)), isSeekable);
            EXPECT_NE(cut.failure, "");
            EXPECT_GE(cut.position, 0);
            EXPECT_LE(cut.position, static_cast<std::int64_t>(size));
        }
    }
}

struct DamageCase {
    const char* fault;
    std::size_t at;
    std::uint64_t value;
    std::size_t width;
    const char* message;
};
// In the file of FileHasExactlyTheseBytes, with a bool and a class identifier after the text.
constexpr DamageCase kDamages[] = {
    {"another file", 0, 0x3C3F786D, 4, "byte 0: expected 'KELD' at the start of a data-model file"},
    {"a later format", 4, 0x200, 4, "byte 4: expected format version 1, found 2"},
    {"a file whose writer died", 8, DataFormat::kUnfinishedFile, 8, "byte 8: the file was not finished"},
    {"a block whose writer died", 21, DataFormat::kUnfinishedRecord, 7,
     "byte 16: block 'shlf' was not finished"},
    {"a block longer than the file", 21, std::uint64_t{1} << 50, 7,
     "byte 16: record 'shlf' has 1125899906842624 bytes, but only 59 are left"},
    {"a block without room for its version", 21, 3, 7, "byte 16: expected 4 bytes in 'shlf', found 3"},
    {"a record longer than its block", 37, 1000, 7,
     "byte 32: record 'titl' has 1000 bytes, but only 43 are left"},
    {"a rest too short for a record", 21, 9, 7, "byte 32: expected a record, found 5 bytes"},
    {"half a unit of text", 37, 1, 7, "byte 32: expected a multiple of 2 bytes in 'titl', found 1"},
    {"a NUL in a text", 44, 0, 2, "byte 44: text 'titl' contains U+0000"},
    {"a truth value of 2", 58, 2, 1, "byte 58: expected 0 or 1 in '0x00000001', found 2"},
    {"a long truth value", 51, 2, 7, "byte 46: expected 1 bytes in '0x00000001', found 2"},
};

TEST(DataModel, DamageIsNamedWithItsByte) {
    const Bytes file = fileOf([](IKelDataModelWriter& writer) {
        writer.beginBlock(kShelf, BinIO_Version(3, 7));
        writer.writeText(kTitle, u"\u00E9");
        writer.writeBool(1, true);
        writer.writeClassId(2, kId);
        writer.endBlock();
    });
    ASSERT_EQ(read(file).failure, "");
    for (const DamageCase& c : kDamages) {
        SCOPED_TRACE(c.fault);
        const Reading reading = read(patched(file, c.at, c.value, c.width));
        EXPECT_EQ(reading.failure, c.message);
        EXPECT_EQ("byte " + std::to_string(reading.position),
                  reading.failure.substr(0, reading.failure.find(':')));
    }
}

TEST(DataModel, ValueOfAnotherKindIsAFailureAndLeavesTheResultAlone) {
    struct Row {
        const char* kinds;
        std::function<void(IKelDataModelWriter&)> write;
        std::function<bool(IKelDataModelReader&)> read;
    };
    KelString text(u"before");
    std::int64_t year = 1;
    double real = 2.5;
    Bytes bytes{3};
    KelClassId id = kId;
    const auto years = [](IKelDataModelWriter& writer) { writer.writeInteger(kYears, 1815); };
    const Row rows[] = {
        {"text in 'year', found integers", years, [&](auto& reader) { return reader.readText(text); }},
        {"reals in 'year', found integers", years, [&](auto& reader) { return reader.readReal(real); }},
        {"bytes in 'year', found integers", years, [&](auto& reader) { return reader.readBytes(bytes); }},
        {"class-id in 'year', found integers", years, [&](auto& reader) { return reader.readClassId(id); }},
        {"integers in 'year', found reals", [](auto& writer) { writer.writeReal(kYears, 1.5); },
         [&](auto& reader) { return reader.readInteger(year); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.kinds);
        const Bytes file = fileOf(row.write);
        BinInputMemory stream(file);
        KelFileRead reader(stream);
        DataRecord record;
        ASSERT_TRUE(reader.next(record));
        EXPECT_FALSE(row.read(reader));
        EXPECT_EQ(kel::toUtf8(reader.failureMessage().view()), std::string("byte 16: expected ") + row.kinds);
        EXPECT_FALSE(reader.readInteger(year)) << "a failure stays";
        EXPECT_FALSE(reader.next(record));
    }
    EXPECT_TRUE(text == u"before" && year == 1 && real == 2.5 && bytes == Bytes{3} && id == kId);
    const Bytes file = fileOf(rows[4].write);
    BinInputMemory stream(file);
    KelFileRead reader(stream);
    DataRecord record;
    EXPECT_TRUE(reader.next(record) && reader.readReal(real));
    EXPECT_EQ(real, 1.5);
}

// A length that lies costs nothing even where the medium's own length is not known.
TEST(DataModel, AWrongLengthAllocatesNothing) {
    Bytes file = fileOf([](IKelDataModelWriter& writer) { writer.writeBytes(kTitle, "abc", 3); });
    file = patched(file, 8, std::uint64_t{1} << 55, 8);
    file = patched(file, 21, std::uint64_t{1} << 54, 7);
    const Reading reading = read(file, false);
    EXPECT_EQ(reading.failure, "byte 31: expected 1021 more bytes, found the end of the file");
}

TEST(DataModel, BlocksNestAsDeepAsTheLimitAndNoDeeper) {
    const auto nested = [](std::size_t depth) {
        return [depth](IKelDataModelWriter& writer) {
            for (std::size_t i = 0; i < depth; ++i) writer.beginBlock(kShelf, BinIO_Version(1, 0));
            for (std::size_t i = 0; i < depth; ++i) writer.endBlock();
        };
    };
    Bytes file = fileOf(nested(DataFormat::kDepthLimit));
    EXPECT_EQ(read(file).failure, "");
    BinOutputMemory out;
    KelFileWrite writer(out);
    nested(DataFormat::kDepthLimit + 1)(writer);
    EXPECT_FALSE(writer.finish());
    EXPECT_EQ(kel::toUtf8(writer.failureMessage().view()),
              "byte 16016: blocks are nested more than 1000 levels deep");

    // One block more around the same contents, made by hand.
    Bytes wrapped(file.begin(), file.begin() + 32);
    wrapped.insert(wrapped.end(), file.begin() + 16, file.end());
    const std::uint64_t inner = file.size() - 16;
    wrapped = patched(patched(wrapped, 8, inner + 16, 8), 21, inner + 4, 7);
    EXPECT_EQ(read(wrapped).failure, "byte 16016: blocks are nested more than 1000 levels deep");
}

TEST(DataModel, SurvivesAnyByteChanged) {
    const Bytes file = fileOf([](IKelDataModelWriter& writer) {
        writer.beginBlock(kShelf, BinIO_Version(1, 0));
        writer.writeText(kTitle, u"Emma");
        writer.writeReal(kYears, 0.5);
        writer.endBlock();
    });
    for (std::size_t at = 0; at < file.size(); ++at) {
        for (const int flip : {0x01, 0x80, 0xFF}) {
            Bytes damaged = file;
            damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ flip);
            const Reading seeking = read(damaged);
            const Reading forward = read(damaged, false);
            EXPECT_LE(seeking.position, static_cast<std::int64_t>(file.size()));
            if (seeking.failure.empty()) {
                EXPECT_EQ(seeking.log, forward.log) << at;
            }
        }
    }
}

// Takes so many bytes, then nothing; may fail to be positioned.
class LimitedMedium final : public BinOutput {
public:
    LimitedMedium(std::size_t limit, bool canSeek) : limit_(limit), canSeek_(canSeek) {}
    bool flush() override { return flushBuffer() && medium_.flush(); }
    std::size_t writeRaw(const void* bytes, std::size_t byteCount) override {
        if (byteCount > limit_) return 0;
        limit_ -= byteCount;
        return medium_.writeRaw(bytes, byteCount);
    }
    std::size_t readRaw(void*, std::size_t) override { return 0; }
    std::int64_t tell() override { return medium_.tell(); }
    bool seek(std::int64_t position, bool fromStart) override {
        return canSeek_ && medium_.seek(position, fromStart);
    }
    bool good() const override { return true; }
    void close() override {}

private:
    BinOutputMemory medium_;
    std::size_t limit_;
    bool canSeek_;
};

TEST(DataModel, WriterReportsAMediumThatTakesNoMore) {
    for (std::size_t limit = 0; limit < 8500; limit += limit < 100 ? 7 : 500) {
        SCOPED_TRACE(limit);
        LimitedMedium out(limit, true);
        KelFileWrite writer(out);
        writeShelf(writer);
        EXPECT_FALSE(writer.finish());
        EXPECT_FALSE(writer.failureMessage().isEmpty());
        EXPECT_FALSE(writer.writeBool(kTitle, true)) << "a failure stays";
    }
    LimitedMedium fixed(100000, false);
    KelFileWrite writer(fixed);
    writeShelf(writer);
    EXPECT_FALSE(writer.finish());
    EXPECT_NE(kel::toUtf8(writer.failureMessage().view()).find("cannot write the length back"),
              std::string::npos);
}

TEST(DataModel, WriterWithAnOpenBlockDoesNotFinish) {
    BinOutputMemory out;
    KelFileWrite writer(out);
    EXPECT_FALSE(writer.endBlock());
    EXPECT_TRUE(writer.failureMessage().isEmpty()) << "nothing was lost by that";
    writer.beginBlock(kShelf, BinIO_Version(1, 0));
    EXPECT_FALSE(writer.finish());
    EXPECT_EQ(kel::toUtf8(writer.failureMessage().view()), "block 'shlf' was not ended");
    out.flush();
    EXPECT_EQ(read(out.bytes()).failure, "byte 8: the file was not finished");
}

TEST(DataModel, StartsWhereTheStreamStandsAndLeavesTheRest) {
    BinOutputMemory out;
    ASSERT_TRUE(kel::writeWord(out, 7));
    {
        KelFileWrite writer(out);
        writeShelf(writer);
        ASSERT_TRUE(writer.finish());
    }
    ASSERT_TRUE(kel::writeWord(out, 8) && out.flush());
    BinInputMemory in(out.bytes());
    ASSERT_EQ(kel::peekWord(in), 7);
    ASSERT_TRUE(in.seek(4, true));
    KelFileRead reader(in);
    EXPECT_NE(readAll(reader), "");
    EXPECT_FALSE(reader.hasFailed());
    EXPECT_EQ(kel::peekWord(in), 8);
}

class PositionalScrambler final : public BinIO_Scrambler {
public:
    PositionalScrambler() { kel::setScrambler(this); }
    ~PositionalScrambler() override { kel::setScrambler(nullptr); }
    void scramble(void* buffer, std::int64_t position, std::size_t byteCount) override {
        auto* const bytes = static_cast<std::uint8_t*>(buffer);
        for (std::size_t i = 0; i < byteCount; ++i)
            bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ (position + static_cast<std::int64_t>(i)) * 31);
    }
    void unscramble(void* buffer, std::int64_t position, std::size_t byteCount) override {
        scramble(buffer, position, byteCount);
    }
};

TEST(DataModel, LengthsAreWrittenBackThroughTheScrambler) {
    const std::string plain = read(fileOf(writeShelf)).log;
    const PositionalScrambler scrambler;
    const Reading reading = read(fileOf(writeShelf));
    EXPECT_EQ(reading.failure, "");
    EXPECT_EQ(reading.log, plain);
}

std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    return names;
}

TEST(DataModel, FileIsReplacedWhenItIsFinishedAndNotBefore) {
    const kel::test::TempDirectory owned;
    const std::filesystem::path folder = owned.path();
    const std::filesystem::path file = folder / "shelf.kel";
    const KelString path(kel::fromUtf8(file.string()));
    std::ofstream(file) << "before";
    {
        KelFileWrite abandoned(path);
        writeShelf(abandoned);
    }
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"shelf.kel"}) << "nothing is left behind";
    EXPECT_EQ(std::filesystem::file_size(file), 6U);

    KelFileWrite writer(path);
    writeShelf(writer);
    EXPECT_EQ(std::filesystem::file_size(file), 6U);
    EXPECT_TRUE(writer.finish());
    EXPECT_FALSE(writer.finish()) << "once";
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"shelf.kel"});
    KelFileRead reader(path);
    EXPECT_EQ(readAll(reader), read(fileOf(writeShelf)).log);

    std::filesystem::create_directories(folder / "folder" / "full");
    KelString occupied = path;
    occupied = occupied.replaceRange(occupied.length() - 9, occupied.length(), u"folder");
    KelFileWrite onFolder(occupied);
    EXPECT_FALSE(onFolder.finish());
    EXPECT_EQ(kel::toUtf8(onFolder.failureMessage().view()).substr(0, 14), "cannot replace");

    KelFileRead absent(KelString(u"no/such/file"));
    EXPECT_EQ(kel::toUtf8(absent.failureMessage().view()), "cannot open no/such/file for reading");
    KelFileWrite nowhere(KelString(u"no/such/file"));
    EXPECT_FALSE(nowhere.finish());
    EXPECT_EQ(kel::toUtf8(nowhere.failureMessage().view()), "cannot open no/such/file for writing");
}

}  // namespace
