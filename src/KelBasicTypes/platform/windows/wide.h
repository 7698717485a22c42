// Between the framework's 16-bit units and the system's wide characters. The one place under this folder that
// knows the latter's width. Threads: no shared state.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace kel::platform {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

[[nodiscard]] inline const wchar_t* toWide(const char16_t* text) noexcept {
    return reinterpret_cast<const wchar_t*>(text);
}
[[nodiscard]] inline const char16_t* toUnits(const wchar_t* text) noexcept {
    return reinterpret_cast<const char16_t*>(text);
}

// A path as the system takes it: ended by a NUL, without memory from the heap.
class WidePath final {
public:
    static constexpr std::size_t kMaxLengthInUnits = 4096;

    explicit WidePath(std::u16string_view path) noexcept {
        if (path.size() > kMaxLengthInUnits || path.find(u'\0') != std::u16string_view::npos) return;
        std::copy(path.begin(), path.end(), units_);
        units_[path.size()] = u'\0';
        isComplete_ = !path.empty();
    }

    // False: empty, too long, or with a NUL in it, which names no file.
    [[nodiscard]] bool isPath() const noexcept { return isComplete_; }
    [[nodiscard]] const wchar_t* get() const& noexcept { return toWide(units_); }
    const wchar_t* get() && = delete;

private:
    char16_t units_[kMaxLengthInUnits + 1];
    bool isComplete_ = false;
};

}  // namespace kel::platform
