// Gathers 16-bit text piece by piece: what std::u16string does, without a call for each of the many short
// pieces. Grows by doubling; keeps its memory when it is emptied. Threads: no shared state.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace msxml {

class TextBuffer final {
public:
    [[nodiscard]] std::size_t size() const noexcept { return size_; }  // in units
    [[nodiscard]] std::u16string_view view() const noexcept { return {units_.data(), size_}; }
    // Zero-terminated; valid until the next change.
    [[nodiscard]] const char16_t* c_str() noexcept {
        units_[size_] = u'\0';
        return units_.data();
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
        if (count > units_.size() - size_) grow(count);
        char16_t* const end = units_.data() + size_;
        size_ += count;
        return end;
    }
    void grow(std::size_t count) { units_.resize(std::max(size_ + count, 2 * units_.size())); }

    std::u16string units_;  // as long as there is room
    std::size_t size_ = 0;
};

}  // namespace msxml
