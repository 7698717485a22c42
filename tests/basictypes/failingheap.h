// A heap for the guarded allocation that fails where a test says so. In place while it lives.
#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "KelBasicTypes/detail/heap.h"
#include "blocksize.h"

namespace kel::test {

class FailingHeap final {
public:
    struct Request {
        bool isRealloc;
        std::size_t sizeInBytes;
    };
    using Rule = std::function<bool(const Request&)>;  // true: fail it

    explicit FailingHeap(Rule rule) : rule_(std::move(rule)) {
        current() = this;
        detail::setHeap({allocate, reallocate, release});
    }
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
    ~FailingHeap() { detail::setHeap(detail::systemHeap()); }

private:
    static FailingHeap*& current() {
        static FailingHeap* heap = nullptr;
        return heap;
    }
    static void* allocate(std::size_t size) {
        return current()->rule_({false, size}) ? nullptr : detail::systemHeap().allocate(size);
    }
    static void* reallocate(void* block, std::size_t size) {
        return current()->rule_({true, size}) ? nullptr : detail::systemHeap().reallocate(block, size);
    }
    // Code that still reads the block fails here.
    static void release(void* block) {
        if (block != nullptr) std::memset(block, 0xDD, usableSize(block));
        detail::systemHeap().release(block);
    }

    Rule rule_;
};

}  // namespace kel::test
