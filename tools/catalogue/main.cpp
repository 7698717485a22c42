// catalogue BYTES [SEED]: writes a generated catalogue of at least BYTES bytes to standard output.
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "tools/catalogue/catalogue.h"

namespace {

bool parseNumber(const char* text, std::uint64_t& number) {
    const char* const end = text + std::strlen(text);
    const auto result = std::from_chars(text, end, number);
    return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t length = 0;
    std::uint64_t seed = catalogue::kDefaultSeed;
    if (argc < 2 || argc > 3 || !parseNumber(argv[1], length) || (argc == 3 && !parseNumber(argv[2], seed))) {
        std::fputs("usage: catalogue BYTES [SEED]\n", stderr);
        return 2;
    }
    try {
        catalogue::generate(length, seed, [](std::string_view piece) {
            if (std::fwrite(piece.data(), 1, piece.size(), stdout) != piece.size())
                throw std::runtime_error("cannot write to standard output");
        });
        if (std::fflush(stdout) != 0) throw std::runtime_error("cannot write to standard output");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "catalogue: %s\n", error.what());
        return 1;
    }
    return 0;
}
