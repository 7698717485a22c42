// Where the bytes come from, and how they are looked at: inputs that can be read once only, and blocks of
// bytes with and without vector instructions.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <random>
#include <thread>

#include "engine/reader/detail/block.h"
#include "engine/reader/errors.h"
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

// No parser may hand such an input on to the other: what the first one took is gone.
TEST(ReaderInput, APipeReadsLikeTheBytesThatComeThroughIt) {
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
        const Reading got = readThroughPipe(document);
        EXPECT_TRUE(got.events == expected.events);
        EXPECT_EQ(got.error.code, expected.error.code);
        EXPECT_EQ(got.error.reason, expected.error.reason);
        EXPECT_EQ(got.error.position.line, expected.error.position.line);
        EXPECT_EQ(got.error.position.column, expected.error.position.column);
    }
}

TEST(ReaderInput, BlocksWithoutVectorInstructionsSeeTheSame) {
    using detail::Block;
    using detail::kBlock;
    using detail::PortableBlock;
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        char bytes[kBlock];
        for (char& byte : bytes) byte = static_cast<char>(random() % (round % 2 == 0 ? 256 : 4));
        const PortableBlock portable = PortableBlock::load(bytes);
        const Block block = Block::load(bytes);
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
