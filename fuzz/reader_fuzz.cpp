// Any bytes at all: reading ends without a complaint of the sanitizers, and without a DOCTYPE the direct
// parser and libxml2, each by itself, come to the same result. Built with clang's -fsanitize=fuzzer. The
// first byte of an input chooses the options.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "engine/reader/reader.h"
#include "tests/engine/parser_agreement.h"
#include "tests/engine/reader_log.h"

namespace {

using engine::reader::ReadOptions;
using engine::reader::test::disagreement;
using engine::reader::test::readAll;
using engine::reader::test::Reading;
using engine::source::Input;

void print(const char* parser, const Reading& reading) {
    const engine::source::ParseError& error = reading.error;
    std::fprintf(stderr, "%s: %08X at %u:%u: %s\n%s\n", parser, static_cast<unsigned>(error.code),
                 error.position.line, error.position.column, error.reason.c_str(), reading.events.c_str());
}

void expectAgreement(const char* difference, const char* one, const Reading& first, const char* other,
                     const Reading& second) {
    if (*difference == '\0') return;
    std::fprintf(stderr, "the parsers differ: %s\n", difference);
    print(one, first);
    print(other, second);
    std::abort();
}

Reading readWith(ReadOptions::Parser parser, const Input& input, ReadOptions options) {
    options.parser = parser;
    return readAll(input, options);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Parser = ReadOptions::Parser;
    if (size == 0) return 0;
    // The first byte chooses how the rest is read.
    ReadOptions options;
    constexpr std::size_t kChunks[] = {1, 3, 16, 65536};
    options.chunkInBytes = kChunks[(data[0] >> 1) & 3];
    options.depthLimit = 100;
    const Input input = Input::bytes({reinterpret_cast<const char*>(data) + 1, size - 1});
    if ((data[0] & 1) != 0) {
        // Entities and defaults: libxml2's business, and ours that nothing goes wrong around it.
        options.dtd = ReadOptions::Dtd::Internal;
        (void)readAll(input, options);
        return 0;
    }
    const Reading direct = readWith(Parser::Direct, input, options);
    const Reading libxml2 = readWith(Parser::Libxml2, input, options);
    expectAgreement(disagreement(direct, libxml2).c_str(), "direct", direct, "libxml2", libxml2);
    return 0;
}
