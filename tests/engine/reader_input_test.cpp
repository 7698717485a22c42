// Where the bytes come from, and how they are looked at: inputs that can be read once only, and blocks of
// bytes with and without vector instructions.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <thread>

#include "engine/com/object.h"
#include "engine/com/ref.h"
#include "engine/source/comstream.h"
#include "engine/source/errors.h"
#include "engine/text/block.h"
#include "tests/engine/reader_log.h"
#include "tests/support/temporaryfolder.h"

namespace engine::reader::test {
namespace {

// What a reader makes of a file that is really a pipe, as in `producer | consumer /dev/stdin`.
Reading readThroughPipe(std::string_view document) {
    const kel::test::TemporaryFolder folder;
    const std::string path = folder.pathOf("pipe");
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread producer([&] { std::ofstream(path, std::ios::binary) << document; });
    ReadOptions options;
    options.dtd = ReadOptions::Dtd::Internal;
    Reading reading = readAll(Input::file(path), options);
    producer.join();
    return reading;
}

// Gives at most `piece` bytes at a time, and fails after `failsAfter`.
class Dripping final : public com::Object<Dripping, ISequentialStream> {
public:
    Dripping(std::string_view bytes, std::size_t piece, std::size_t failsAfter = std::string_view::npos)
        : left_(bytes), piece_(piece), failsAfter_(failsAfter) {}

    HRESULT Read(void* to, ULONG count, ULONG* done) override {
        *done = 0;
        if (taken_ >= failsAfter_) return E_FAIL;
        *done = static_cast<ULONG>(left_.copy(static_cast<char*>(to), std::min<std::size_t>(count, piece_)));
        left_.remove_prefix(*done);
        taken_ += *done;
        return *done == 0 ? S_FALSE : S_OK;
    }
    HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }

private:
    std::string_view left_;
    std::size_t piece_;
    std::size_t failsAfter_;
    std::size_t taken_ = 0;
};

Reading readThroughStream(std::string_view document, std::size_t piece) {
    const auto stream = com::make<Dripping>(document, piece);
    source::ComByteStream bytes(*stream);
    ReadOptions options;
    options.dtd = ReadOptions::Dtd::Internal;
    return readAll(Input::stream(bytes), options);
}

TEST(ReaderInput, AStreamThatFailsIsNoShorterDocument) {
    for (const std::size_t after : {1u, 5u, 13u}) {
        const auto stream = com::make<Dripping>("<r><a/>text</r>  ", std::size_t{1}, after);
        source::ComByteStream bytes(*stream);
        const Reading got = readAll(Input::stream(bytes), {});
        EXPECT_EQ(got.error.code, statusOf(ErrorCode::CannotRead)) << after;
    }
}

// No parser may hand such an input on to the other: what the first one took is gone.
TEST(ReaderInput, APipeOrStreamReadsLikeTheBytesThatComeThroughIt) {
    std::string longOne = "<r>";
    for (int i = 0; i < 9000; ++i) longOne += "<item n='" + std::to_string(i) + "'>text &amp; more</item>\n";
    const std::string documents[] = {
        "<r a='1'>text<p:e xmlns:p='urn:p'/></r>",
        longOne + "</r>",
        longOne + "</wrong>",
        "<!DOCTYPE r [<!ENTITY e 'E'>]>" + longOne + "&e;</r>",
        "<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE4\xF6</r>",
        std::string("\xFF\xFE<\0r\0/\0>\0", 10),
        "not xml at all",
        "",
    };
    ReadOptions direct;
    direct.dtd = ReadOptions::Dtd::Internal;
    for (const std::string& document : documents) {
        SCOPED_TRACE(document.substr(0, 60));
        const Reading expected = readAll(Input::bytes(document), direct);
        for (const Reading& got :
             {readThroughPipe(document), readThroughStream(document, 1), readThroughStream(document, 1000)}) {
            EXPECT_TRUE(got.events == expected.events);
            EXPECT_EQ(got.error.code, expected.error.code);
            EXPECT_EQ(got.error.reason, expected.error.reason);
            EXPECT_EQ(got.error.position.line, expected.error.position.line);
            EXPECT_EQ(got.error.position.column, expected.error.position.column);
        }
    }
}

TEST(ReaderInput, BlocksWithoutVectorInstructionsSeeTheSame) {
    using text::Block;
    using text::kBlock;
    using text::PortableBlock;
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        char bytes[kBlock];
        for (char& byte : bytes) byte = static_cast<char>(random() % (round % 2 == 0 ? 256 : 4));
        const PortableBlock portable = PortableBlock::load(bytes);
        const Block block = Block::load(bytes);
        std::shuffle(bytes, bytes + kBlock / 2, random);  // the other half stays the same
        ASSERT_EQ(portable.equal(PortableBlock::load(bytes)), block.equal(Block::load(bytes)));
        for (int value = 0; value < 256; ++value) {
            const auto c = static_cast<char>(value);
            ASSERT_EQ(portable.equal(c), block.equal(c));
            ASSERT_EQ(portable.upTo(static_cast<unsigned char>(value)),
                      block.upTo(static_cast<unsigned char>(value)));
            ASSERT_EQ(portable.valueStops(c), block.valueStops(c));
        }
        ASSERT_EQ(portable.textStops(), block.textStops());
        ASSERT_EQ(portable.suspects(), block.suspects());
        ASSERT_EQ(portable.continuations(), block.continuations());
    }
}

}  // namespace
}  // namespace engine::reader::test
