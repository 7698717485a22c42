#include "bench/blockrounds.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <random>
#include <vector>

#include "KelBasicTypes/buffers.h"

namespace bench {
namespace {

constexpr std::size_t kAlive = 8;  // blocks that are in use at a time
constexpr std::size_t kSizes = 1024;

// Those of string buffers: most are short, some hold a line or a paragraph, few a page.
const std::array<std::size_t, kSizes>& mixedSizes() {
    static const std::array<std::size_t, kSizes> sizes = [] {
        std::array<std::size_t, kSizes> all{};
        std::mt19937 random(5);
        for (std::size_t i = 0; i < kSizes; ++i) {
            const std::size_t max = i % 16 == 0 ? 8000 : i % 4 == 0 ? 600 : 80;
            all[i] = 2 + random() % max;
        }
        return all;
    }();
    return sizes;
}

}  // namespace

std::uint64_t takeAndGiveBack() {
    struct Block {
        void* at = nullptr;
        std::int32_t capacity = 0;
    };
    const auto& sizes = mixedSizes();
    std::array<Block, kAlive> blocks{};
    for (std::uint64_t i = 0; i < kBlocksInRound; ++i) {
        Block& block = blocks[i % kAlive];
        kel::giveBackBuffer(block.capacity, block.at);
        block.at = kel::takeBuffer(sizes[i % kSizes], block.capacity);
        *static_cast<char*>(block.at) = 1;
    }
    for (const Block& block : blocks) kel::giveBackBuffer(block.capacity, block.at);
    return kBlocksInRound;
}

std::uint64_t allocateAndFree() {
    const auto& sizes = mixedSizes();
    std::array<char*, kAlive> blocks{};
    for (std::uint64_t i = 0; i < kBlocksInRound; ++i) {
        char*& block = blocks[i % kAlive];
        std::free(block);
        block = static_cast<char*>(std::malloc(sizes[i % kSizes]));
        if (block == nullptr) std::abort();
        *static_cast<volatile char*>(block) = 1;
    }
    for (char* const block : blocks) std::free(block);
    return kBlocksInRound;
}

}  // namespace bench
