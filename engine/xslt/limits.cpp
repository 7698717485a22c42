// Stack: measured with libxslt 1.1.35, optimised, in bytes: a level of templates took 280 to 770, a level
// of elements that the built-in rules walk over 130, one that copy-of copies 100, and a level of a style
// sheet that is compiled up to 490. The worst that a style sheet can do is to walk the whole depth of the
// source with the built-in rules at each level of its templates.
#include "engine/xslt/limits.h"

#include <algorithm>

#include "engine/xslt/platform/stack.h"

namespace engine::xslt {

namespace {

constexpr std::size_t kUsualTemplateDepth = 3000;  // libxslt's own default
constexpr std::size_t kBytesPerTemplate = 1000;
constexpr std::size_t kBytesPerElement = 170;
constexpr std::size_t kBytesPerStyleElement = 700;
constexpr std::size_t kReserve = std::size_t{64} << 10;  // for what is not recursive
constexpr std::size_t kBigStack = std::size_t{256} << 20;

// Measured, optimised: 9 million cheap instructions or 70 million steps take a second. The greediest real
// work seen is docbook-xsl: 75 instructions a node of the book, and steps that grow with the square of it
// (0.08 for each pair of nodes), and 8 KB written a node. Ten times the steps are granted, seven times the
// instructions, and five times the bytes.
constexpr unsigned long kLeastInstructions = 10'000'000;
constexpr unsigned long kInstructionsPerNode = 500;
constexpr unsigned long kLeastXPathSteps = 200'000'000;
constexpr unsigned long kMostXPathSteps = 50'000'000'000;
constexpr std::size_t kLeastWrittenInBytes = std::size_t{512} << 20;
constexpr std::size_t kWrittenPerNode = 40'000;
constexpr std::size_t kWrittenPerSourceByte = 100;
constexpr std::size_t kLeastStringInBytes = std::size_t{64} << 20;
constexpr std::size_t kStringPerSourceByte = 16;

std::size_t templateDepthOn(std::size_t stack, std::size_t sourceDepth) {
    const std::size_t tree = (sourceDepth + 1) * kBytesPerElement;
    if (stack < kReserve + tree) return 0;
    return std::min(kUsualTemplateDepth, (stack - kReserve - tree) / (kBytesPerTemplate + tree));
}

}  // namespace

WorkLimits workLimits(std::size_t sourceNodes, std::size_t sourceTextInBytes) noexcept {
    const auto nodes = static_cast<unsigned long>(sourceNodes);
    const unsigned long square = nodes < 1'000'000 ? nodes * nodes : kMostXPathSteps;
    return {kLeastInstructions + kInstructionsPerNode * nodes,
            std::min(kLeastXPathSteps + square, kMostXPathSteps),
            kLeastWrittenInBytes + kWrittenPerNode * sourceNodes + kWrittenPerSourceByte * sourceTextInBytes,
            kLeastStringInBytes + kStringPerSourceByte * sourceTextInBytes};
}

std::size_t styleSheetDepthLimit() noexcept {
    const std::size_t stack = platform::stackLeftInBytes();
    return std::max<std::size_t>(stack > kReserve ? (stack - kReserve) / kBytesPerStyleElement : 0, 50);
}

void runWithStack(std::size_t sourceDepth, const std::function<void(std::size_t templateDepth)>& work) {
    const std::size_t here = templateDepthOn(platform::stackLeftInBytes(), sourceDepth);
    if (here == kUsualTemplateDepth) return work(here);
    const std::size_t there = std::max<std::size_t>(templateDepthOn(kBigStack, sourceDepth), 1);
    if (!platform::runOnStack(kBigStack, [&] { work(there); })) work(std::max<std::size_t>(here, 1));
}

}  // namespace engine::xslt
