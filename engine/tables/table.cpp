#include "engine/tables/table.h"

#include <new>

#include "engine/com/blocks.h"
#include "engine/com/status.h"
#include "engine/text/worded.h"

namespace engine::tables {

namespace {
// Reached by an offset, as the thread's blocks are.
[[gnu::tls_model("initial-exec")]] constinit thread_local std::int64_t requestsLeft =
    -1;  // negative: no limit
}  // namespace

FailingAllocation::FailingAllocation(std::int64_t requestsThatSucceed) noexcept {
    requestsLeft = requestsThatSucceed;
}

FailingAllocation::~FailingAllocation() {
    requestsLeft = -1;
}

std::size_t detail::roomOfBlock(std::size_t sizeInBytes) noexcept {
    return com::roomOfBlock(sizeInBytes);
}

void* detail::resizeBlock(void* block, std::size_t sizeInBytes, std::size_t newSizeInBytes) {
    if (requestsLeft == 0) throw std::bad_alloc();
    if (requestsLeft > 0) --requestsLeft;
    void* const resized = com::resizeBlock(block, sizeInBytes, newSizeInBytes);
    if (resized == nullptr) throw std::bad_alloc();
    return resized;
}

void detail::freeBlock(void* block, std::size_t sizeInBytes) noexcept {
    com::giveBlock(block, sizeInBytes);
}

void detail::tableIsFull() {
    throw com::Exception(
        E_OUTOFMEMORY,
        text::worded(
            "The document is too large: a tree holds at most 4 GiB of text and 4,294,967,280 nodes or "
            "attributes."));
}

}  // namespace engine::tables
