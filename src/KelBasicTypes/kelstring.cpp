// Text stands in a block of buffers.h, whose header names the allocator. Every change begins with beginAssign
// or beginAppend, which see to it that the string has a block of its own with room enough.
#include "KelBasicTypes/kelstring.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <utility>

#include "KelBasicTypes/detail/findunit.h"

namespace {

using Traits = std::char_traits<char16_t>;

std::string_view untilNul(std::string_view text) noexcept {
    return text.substr(0, text.find('\0'));
}

void widen(std::string_view text, char16_t* out) noexcept {
    for (const char byte : text) *out++ = static_cast<char16_t>(static_cast<signed char>(byte));
}

std::size_t bytesFor(std::size_t units) {
    if (units > KelString::kMaxUnits)
        throw std::length_error("KelString: text is longer than 1073741822 units");
    return (units + 1) * sizeof(char16_t);
}

}  // namespace

KelString::KelString(const char16_t* text, std::size_t length) {
    if (length == 0) {
        text_ = const_cast<char16_t*>(text);  // borrowed text is never written to
    } else if (text == nullptr || length >= kUpToNul) {
        assign(text);
    } else {
        assign(std::u16string_view(text, length));
    }
}

KelString::KelString(const KelString& other) {
    if (other.textBytes_ == 0) {
        text_ = other.text_;
    } else {
        ownedLength_ = other.ownedLength_;
        text_ = static_cast<char16_t*>(kel::takeBuffer(bytesFor(ownedLength_), textBytes_));
        Traits::copy(text_, other.text_, ownedLength_ + std::size_t{1});
    }
    if (other.narrowBytes_ == 0) narrow_ = other.narrow_;
}

KelString& KelString::operator=(KelString&& other) noexcept {
    if (this != &other) {
        clear();
        swap(other);
    }
    return *this;
}

void KelString::swap(KelString& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(textBytes_, other.textBytes_);
    std::swap(ownedLength_, other.ownedLength_);
    std::swap(narrow_, other.narrow_);
    std::swap(narrowBytes_, other.narrowBytes_);
    std::swap(extra_, other.extra_);
    std::swap(extraBytes_, other.extraBytes_);
}

void KelString::clear() noexcept {
    giveBackAll();
    text_ = nullptr;
    narrow_ = nullptr;
    extra_ = nullptr;
    textBytes_ = narrowBytes_ = extraBytes_ = 0;
    ownedLength_ = 0;
}

void KelString::makeEmpty() noexcept {
    if (textBytes_ > 0) {
        endText(0);
    } else {
        text_ = nullptr;
    }
    dropBorrowedNarrow();
}

void KelString::reserve(std::size_t units) {
    const std::u16string_view text = view();
    if (textBytes_ == 0 || capacity() < units) replaceBuffer(std::max(units, text.size()), text);
}

KelString& KelString::assign(std::u16string_view text) {
    return assignWhole(text.substr(0, kel::detail::findUnit(text, 0)));
}

KelString& KelString::assignWhole(std::u16string_view text) {
    char16_t* const out =
        beginAssign(text.size());  // text that is part of ourselves fits, so it is still there
    Traits::move(out, text.data(), text.size());
    endText(text.size());
    return *this;
}

KelString& KelString::assign(const char16_t* text) {
    if (text != nullptr) return assignWhole(std::u16string_view(text));
    clear();
    return *this;
}

KelString& KelString::assignSlowly(const KelString& other) {
    if (this == &other) return *this;
    if (!other.isNull()) return assignWhole(other.view());
    clear();
    return *this;
}

KelString& KelString::assignNarrow(const char* text, std::int32_t length) {
    if (text == nullptr) {
        clear();
        return *this;
    }
    return length < 0 ? assignWholeNarrow(text)
                      : assignNarrow(std::string_view(text, static_cast<std::size_t>(length)));
}

KelString& KelString::assignNarrow(std::string_view text) {
    return assignWholeNarrow(untilNul(text));
}

KelString& KelString::assignWholeNarrow(std::string_view text) {
    widen(text, beginAssign(text.size()));
    endText(text.size());
    return *this;
}

KelString& KelString::append(std::u16string_view text) {
    return appendWhole(text.substr(0, kel::detail::findUnit(text, 0)));
}

KelString& KelString::appendGrowing(std::u16string_view text) {
    // Growing gives our old buffer back, and the text may lie in it.
    if (owns(text.data())) {
        const KelString copy(text);
        return appendWhole(copy.view());
    }
    const std::size_t before = length();
    Traits::copy(beginAppend(text.size()), text.data(), text.size());
    endText(before + text.size());
    return *this;
}

KelString& KelString::appendSlowly(char16_t unit) {
    return append(std::u16string_view(&unit, 1));
}

KelString& KelString::appendNarrow(std::string_view text) {
    text = untilNul(text);
    const std::size_t before = length();
    widen(text, beginAppend(text.size()));
    endText(before + text.size());
    return *this;
}

void KelString::borrowNarrow(const char* text) noexcept {
    kel::giveBackBuffer(std::exchange(narrowBytes_, 0), narrow_);
    narrow_ = const_cast<char*>(text);  // borrowed text is never written to
}

KelString KelString::replaceRange(std::size_t start, std::size_t end, std::u16string_view replacement) const {
    const std::u16string_view text = view();
    const std::u16string_view before = text.substr(0, start);
    const std::u16string_view after = text.substr(std::min(end, text.size()));
    const std::u16string_view middle = replacement.substr(0, kel::detail::findUnit(replacement, 0));
    KelString result;
    result.overwrite(before.size() + middle.size() + after.size(), [&](char16_t* out) {
        for (const std::u16string_view piece : {before, middle, after})
            out = std::copy(piece.begin(), piece.end(), out);
    });
    return result;
}

std::size_t KelString::borrowedLength() const noexcept {
    return text_ == nullptr ? 0 : Traits::length(text_);
}

bool KelString::owns(const char16_t* unit) const noexcept {
    const std::less<> before;  // a total order, also between unrelated objects
    return textBytes_ > 0 && !before(unit, text_) && before(unit, text_ + textBytes_ / 2);
}

// Room for `units` and a NUL where the text begins; what was there is lost if it does not fit.
char16_t* KelString::beginAssign(std::size_t units) {
    if (text_ == nullptr || static_cast<std::size_t>(textBytes_) < bytesFor(units)) replaceBuffer(units, {});
    dropBorrowedNarrow();
    return text_;
}

// Room for `units` and a NUL where the text ends.
char16_t* KelString::beginAppend(std::size_t units) {
    const std::size_t before = length();
    if (text_ == nullptr || static_cast<std::size_t>(textBytes_) < bytesFor(before + units)) {
        const std::size_t doubled = std::min(2 * before, kMaxUnits);
        growBuffer(std::max(before + units, doubled));
    }
    dropBorrowedNarrow();
    return text_ + before;
}

void KelString::growBuffer(std::size_t units) {
    void* const grown = kel::tryGrowBuffer(bytesFor(units), textBytes_, text_);
    if (grown == nullptr) return replaceBuffer(units, view());
    text_ = static_cast<char16_t*>(grown);
}

void KelString::replaceBuffer(std::size_t units, std::u16string_view keep) {
    std::int32_t bytes = 0;
    auto* const text = static_cast<char16_t*>(kel::takeBuffer(bytesFor(units), bytes));
    Traits::copy(text, keep.data(), keep.size());
    kel::giveBackBuffer(textBytes_, text_);
    text_ = text;
    textBytes_ = bytes;
    endText(keep.size());
}
