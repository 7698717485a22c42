#include "engine/tables/table.h"

#include <cstdlib>
#include <new>

#include "engine/com/status.h"
#include "engine/text/worded.h"

namespace engine::tables {

namespace {
constinit thread_local std::int64_t requestsLeft = -1;  // negative: no limit
}

AllocationFailure::AllocationFailure(std::int64_t requestsThatSucceed) noexcept {
    requestsLeft = requestsThatSucceed;
}

AllocationFailure::~AllocationFailure() {
    requestsLeft = -1;
}

void* detail::resizeBlock(void* block, std::size_t sizeInBytes) {
    if (requestsLeft == 0) throw std::bad_alloc();
    if (requestsLeft > 0) --requestsLeft;
    void* resized = std::realloc(block, sizeInBytes);
    if (resized == nullptr) throw std::bad_alloc();
    return resized;
}

void detail::freeBlock(void* block) noexcept {
    std::free(block);
}

void detail::tableIsFull() {
    throw com::Failure(
        E_OUTOFMEMORY,
        text::worded(
            "The document is too large: a tree holds at most 4 GiB of text and 4,294,967,280 nodes or "
            "attributes."));
}

}  // namespace engine::tables
