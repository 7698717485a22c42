// A text that came in as UTF-16, as UTF-8 for the tree; short ones need no heap.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "engine/text/utf.h"

namespace engine::dom {

class Utf8Text final {
public:
    static constexpr std::size_t kBytesForUnit = 3;  // at most
    static constexpr std::size_t kShort = 256;       // in units

    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the buffer is written before it is read.
    explicit Utf8Text(std::u16string_view text) {
        if (text.size() <= kShort) {
            view_ = {buffer_.data(), text::convertToUtf8(text, buffer_.data())};
        } else {
            long_ = text::toUtf8(text);
            view_ = long_;
        }
    }
    Utf8Text(const Utf8Text&) = delete;
    Utf8Text& operator=(const Utf8Text&) = delete;

    [[nodiscard]] std::string_view view() const& noexcept { return view_; }
    std::string_view view() && = delete;

private:
    std::array<char, kShort * kBytesForUnit> buffer_;
    std::string long_;
    std::string_view view_;
};

}  // namespace engine::dom
