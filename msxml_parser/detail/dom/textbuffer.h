// Gathers 16-bit text piece by piece: what std::u16string does, without a call for each of the many short
// pieces, and without writing to memory that is not used yet. Grows by doubling, in place where the system
// can; keeps its memory when it is emptied. Threads: no shared state.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

namespace msxml {

class TextBuffer final {
public:
    TextBuffer() = default;
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;
    ~TextBuffer() { std::free(units_); }

    [[nodiscard]] std::size_t size() const noexcept { return size_; }  // in units
    [[nodiscard]] std::u16string_view view() const noexcept { return {units_, size_}; }
    // Zero-terminated; valid until the next change.
    [[nodiscard]] const char16_t* c_str() {
        *extend(1) = u'\0';
        --size_;
        return units_;
    }

    // The text must lie elsewhere.
    void append(std::u16string_view text) { copy(text.data(), text.size(), extend(text.size())); }
    void append(char16_t unit) { *extend(1) = unit; }
    void truncate(std::size_t size) noexcept { size_ = size; }
    void clear() noexcept { size_ = 0; }

private:
    // In pieces of fixed length, the last of which overlaps the one before.
    template <std::size_t kUnits>
    static void copyPieces(const char16_t* from, std::size_t size, char16_t* to) noexcept {
        const std::size_t last = size - kUnits;
        for (std::size_t at = 0; at < last; at += kUnits)
            std::memcpy(to + at, from + at, kUnits * sizeof(char16_t));
        std::memcpy(to + last, from + last, kUnits * sizeof(char16_t));
    }
    // Most pieces are short. Not inline: g++ 12 would follow a literal into the branch for long ones, and
    // warn.
    [[gnu::noinline]] static void copy(const char16_t* from, std::size_t size, char16_t* to) noexcept {
        if (size > 64) {
            std::memcpy(to, from, size * sizeof(char16_t));
        } else if (size >= 8) {
            copyPieces<8>(from, size, to);
        } else if (size >= 4) {
            copyPieces<4>(from, size, to);
        } else if (size >= 2) {
            copyPieces<2>(from, size, to);
        } else if (size == 1) {
            *to = *from;
        }
    }

    char16_t* extend(std::size_t count) {
        if (count > capacity_ - size_) grow(count);
        char16_t* const end = units_ + size_;
        size_ += count;
        return end;
    }
    void grow(std::size_t count) {
        constexpr std::size_t kMax = std::numeric_limits<std::size_t>::max() / sizeof(char16_t) / 2;
        if (count > kMax - size_) throw std::bad_alloc();
        const std::size_t capacity = std::max(size_ + count, 2 * capacity_);
        void* const grown = std::realloc(units_, capacity * sizeof(char16_t));
        if (grown == nullptr) throw std::bad_alloc();
        units_ = static_cast<char16_t*>(grown);
        capacity_ = capacity;
    }

    char16_t* units_ = nullptr;  // owned
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace msxml
