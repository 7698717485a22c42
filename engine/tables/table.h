// A growing array of plain records with 32-bit indices. Doubles, as moving what it holds is a tenth of
// building a tree; gives back what is left over when asked. Small ones live in the thread's blocks, for a
// short document fills a dozen tables and drops them at once. Threads: as the object it belongs to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace engine::tables {

namespace detail {
// What a block of so many bytes has room for.
[[nodiscard]] std::size_t roomOfBlock(std::size_t sizeInBytes) noexcept;
// Keeps what fits; throws std::bad_alloc and then leaves `block` as it was. Both sizes as `roomOfBlock` gave
// them, or less.
[[nodiscard]] void* resizeBlock(void* block, std::size_t sizeInBytes, std::size_t newSizeInBytes);
void freeBlock(void* block, std::size_t sizeInBytes) noexcept;
[[noreturn]] void tableIsFull();
}  // namespace detail

// While it lives, the n-th request of this thread for table memory fails, and every one after it. For tests.
class FailingAllocation final {
public:
    explicit FailingAllocation(std::int64_t requestsThatSucceed) noexcept;
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};

template <typename T>
class Table final {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    static constexpr std::uint32_t kMax = 0xFFFFFFF0u;

    explicit Table(std::uint32_t max = kMax) noexcept : max_(max) {}
    Table(Table&& other) noexcept
        : data_(std::exchange(other.data_, nullptr)),
          size_(std::exchange(other.size_, 0)),
          capacity_(std::exchange(other.capacity_, 0)),
          max_(other.max_) {}
    Table& operator=(Table&& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
        std::swap(max_, other.max_);
        return *this;
    }
    ~Table() {
        if (data_ != nullptr) detail::freeBlock(data_, sizeInBytes(capacity_));
    }

    [[nodiscard]] std::uint32_t size() const noexcept { return size_; }
    [[nodiscard]] std::uint32_t capacity() const noexcept { return capacity_; }
    [[nodiscard]] std::uint32_t max() const noexcept { return max_; }
    [[nodiscard]] T* data() noexcept { return data_; }
    [[nodiscard]] const T* data() const noexcept { return data_; }
    T& operator[](std::uint32_t index) noexcept { return data_[index]; }
    const T& operator[](std::uint32_t index) const noexcept { return data_[index]; }
    T& back() noexcept { return data_[size_ - 1]; }

    // Both throw std::bad_alloc or, beyond the limit, com::Exception; the table is then unchanged.
    void append(const T& value) {
        const T copy = value;  // it may stand in this table
        reserve(1);
        data_[size_++] = copy;
    }
    // `count` more records, for the caller to fill.
    T* extend(std::uint32_t count) {
        reserve(count);
        T* first = data_ + size_;
        size_ += count;
        return first;
    }
    // Room for `count` more records: appending them afterwards cannot fail.
    void reserve(std::uint32_t count) {
        if (count > capacity_ - size_) grow(count);
    }
    void truncate(std::uint32_t size) noexcept { size_ = size; }
    // What is left over goes back to the heap, unless it is too little to be worth the call.
    void trim() {
        constexpr std::size_t kLittle = 2048;
        if (size_ != 0 && std::size_t{capacity_ - size_} * sizeof(T) > kLittle) resize(size_);
    }

private:
    void grow(std::uint32_t count) {
        if (count > max_ - size_) detail::tableIsFull();
        const std::uint64_t wanted = std::uint64_t{size_} + count;
        const std::uint64_t roomy = std::uint64_t{capacity_} * 2 + 16;
        const std::uint64_t next = wanted > roomy ? wanted : roomy;
        const std::uint64_t room = detail::roomOfBlock(sizeInBytes(next)) / sizeof(T);
        resize(static_cast<std::uint32_t>(room < max_ ? room : max_));
    }
    void resize(std::uint32_t capacity) {
        data_ = static_cast<T*>(detail::resizeBlock(data_, sizeInBytes(capacity_), sizeInBytes(capacity)));
        capacity_ = capacity;
    }
    [[nodiscard]] static std::size_t sizeInBytes(std::uint64_t records) noexcept {
        return static_cast<std::size_t>(records) * sizeof(T);
    }

    T* data_ = nullptr;
    std::uint32_t size_ = 0;
    std::uint32_t capacity_ = 0;
    std::uint32_t max_;
};

}  // namespace engine::tables
