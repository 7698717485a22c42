// Any bytes at all: both parsers end without a complaint of the sanitizers, and agree on events and on
// errors. Built with clang's -fsanitize=fuzzer. The first byte of an input chooses the options.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "engine/reader/reader.h"
#include "tests/engine/reader_log.h"

namespace {

using engine::reader::Input;
using engine::reader::ReadOptions;
using engine::reader::test::readAll;
using engine::reader::test::Reading;

[[noreturn]] void disagree(const Reading& ours, const Reading& theirs) {
    std::fprintf(stderr, "fast parser: %s\n%s\nlibxml2: %s\n%s\n", ours.error.reason.c_str(),
                 ours.events.c_str(), theirs.error.reason.c_str(), theirs.events.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    // The first byte chooses how the rest is read.
    ReadOptions options;
    options.dtd = (data[0] & 1) != 0 ? ReadOptions::Dtd::Internal : ReadOptions::Dtd::Prohibit;
    constexpr std::size_t kChunks[] = {1, 3, 16, 65536};
    options.chunkInBytes = kChunks[(data[0] >> 1) & 3];
    options.depthLimit = 100;
    const Input input = Input::bytes({reinterpret_cast<const char*>(data) + 1, size - 1});
    const Reading ours = readAll(input, options);
    options.parser = ReadOptions::Parser::Libxml2;
    const Reading theirs = readAll(input, options);
    const bool agree = ours.error.code == theirs.error.code && ours.error.reason == theirs.error.reason &&
                       ours.error.filePosition == theirs.error.filePosition &&
                       (ours.error.failed() || ours.events == theirs.events);
    if (!agree) disagree(ours, theirs);
    return 0;
}
