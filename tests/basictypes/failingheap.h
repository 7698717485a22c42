// A heap for the guarded allocation that refuses what a test says. In place while it lives.
#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "KelBasicTypes/detail/heap.h"
#include "blocksize.h"

namespace kel::test {

class RefusingHeap final {
public:
    struct Request {
        bool isRealloc;
        std::size_t sizeInBytes;
    };
    using Rule = std::function<bool(const Request&)>;  // true: fail it

    explicit RefusingHeap(Rule rule) : rule_(std::move(rule)) {
        current() = this;
        detail::setHeap({allocate, reallocate, release});
    }
    RefusingHeap(const RefusingHeap&) = delete;
    RefusingHeap& operator=(const RefusingHeap&) = delete;
    ~RefusingHeap() { detail::setHeap(detail::systemHeap()); }

private:
    static RefusingHeap*& current() {
        static RefusingHeap* heap = nullptr;
        return heap;
    }
    static void* allocate(std::size_t size) {
        return current()->rule_({false, size}) ? nullptr : detail::systemHeap().allocate(size);
    }
    static void* reallocate(void* block, std::size_t size) {
        return current()->rule_({true, size}) ? nullptr : detail::systemHeap().reallocate(block, size);
    }
    // Whoever still reads the block finds that out here, not some other day.
    static void release(void* block) {
        if (block != nullptr) std::memset(block, 0xDD, usableSize(block));
        detail::systemHeap().release(block);
    }

    Rule rule_;
};

}  // namespace kel::test
