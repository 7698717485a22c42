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

#include "KelBasicTypes/detail/lanes.h"

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
        *room(1) = u'\0';
        return units_;
    }

    // Texts and single units, one after the other. They must lie elsewhere.
    template <typename... Parts>
    void append(const Parts&... parts) {
        char16_t* to = room((lengthOf(parts) + ...));
        ((to = put(parts, to)), ...);
        endAt(to);
    }
    // Where the next units go: room for `count` of them, which count once endAt says where they end.
    [[nodiscard]] char16_t* room(std::size_t count) {
        if (count > capacity_ - size_) grow(count);
        return units_ + size_;
    }
    void endAt(const char16_t* end) noexcept { size_ = static_cast<std::size_t>(end - units_); }
    void truncate(std::size_t size) noexcept { size_ = size; }
    void clear() noexcept { size_ = 0; }

private:
    [[nodiscard]] static std::size_t lengthOf(char16_t) noexcept { return 1; }
    [[nodiscard]] static std::size_t lengthOf(std::u16string_view text) noexcept { return text.size(); }
    [[nodiscard]] static char16_t* put(char16_t unit, char16_t* to) noexcept {
        *to = unit;
        return to + 1;
    }
    template <std::size_t kSize>
    [[nodiscard]] static std::size_t lengthOf(const char16_t (&)[kSize]) noexcept {
        return kSize - 1;
    }
    // Of a literal the length is known; followed into the other form, compilers warn of what cannot happen.
    template <std::size_t kSize>
    [[nodiscard]] static char16_t* put(const char16_t (&literal)[kSize], char16_t* to) noexcept {
        std::memcpy(to, literal, (kSize - 1) * sizeof(char16_t));
        return to + kSize - 1;
    }
    [[nodiscard]] static char16_t* put(std::u16string_view text, char16_t* to) noexcept {
        return kel::detail::copyUnits(text, to);
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
