// The framework's wide string: 16-bit units, NUL-terminated. Text handed in ends at its first NUL.
//
// A null string has no text at all; it equals the empty string and has length 0. A string may also borrow its
// text from storage that the caller keeps alive: only the constructor that says so makes such a string, and a
// copy construction passes the borrowing on. Assigning and editing always end it.
//
// With a host that offers IKelStrSupport, comparison, classification, case and the narrow view are the
// host's; each has the fixed fallback that its declaration states.
//
// Failure: text beyond kMaxUnits throws std::length_error, no memory ends as buffers.h says; the string is
// then unchanged. Threads: a string belongs to one thread at a time, even to read its narrow view.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "KelBasicTypes/buffers.h"
#include "KelBasicTypes/numberformat.h"

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the order of the fields is shared with other
// components
class KelString final {
public:
    // The longest text in units, without the NUL; and the length that means up to the NUL.
    static constexpr std::size_t kMaxUnits = kel::kMaxBufferBytes / sizeof(char16_t) - 1;
    static constexpr std::size_t kUpToNul = 0xFFFFFFFF;

    // --- Construction -------------------------------------------------------------------------------------
    KelString() noexcept = default;  // the null string
    // NOLINTBEGIN(google-explicit-constructor): 16-bit texts are welcome wherever a string is
    KelString(std::nullptr_t) noexcept {}
    KelString(const char16_t* text) { assign(text); }  // copied up to the NUL; null makes the null string
    KelString(std::u16string_view text) { assign(text); }
    KelString(const std::u16string& text) { assign(std::u16string_view(text)); }
    // NOLINTEND(google-explicit-constructor)

    // Copied; a length of kUpToNul or more means up to the NUL. Careful: a length of 0 with a text BORROWS
    // the text up to its NUL. For "no units" construct from a view.
    KelString(const char16_t* text, std::size_t length);

    // 8-bit text, each byte widened as a signed value: 0x80 to 0xFF become units 0xFF80 to 0xFFFF.
    // A length of -1 means up to the NUL; null makes the null string.
    explicit KelString(const char* text, std::int32_t length = -1) { assignNarrow(text, length); }
    explicit KelString(std::string_view text) { assignNarrow(text); }

    // Decimal.
    explicit KelString(int value);
    explicit KelString(unsigned value);
    explicit KelString(long value);
    explicit KelString(long long value);
    KelString(int value, const KelNumberFormat& format);
    KelString(long value, const KelNumberFormat& format);
    KelString(long long value, const KelNumberFormat& format);
    // Six decimals; exponent notation above 1e10.
    explicit KelString(double value);
    KelString(double value, const KelNumberFormat& format);
    explicit KelString(char) = delete;  // would write the code's number
    explicit KelString(char16_t) = delete;
    explicit KelString(bool) = delete;

    // Borrowed text and a borrowed narrow form stay borrowed; all else is copied.
    KelString(const KelString& other);
    KelString(KelString&& other) noexcept { swap(other); }
    ~KelString() { giveBackAll(); }

    KelString& operator=(const KelString& other) {
        if (this != &other) assign(other);
        return *this;
    }
    KelString& operator=(KelString&& other) noexcept;
    KelString& operator=(std::u16string_view text) {
        assign(text);
        return *this;
    }
    KelString& operator=(const std::u16string& text) { return *this = std::u16string_view(text); }
    KelString& operator=(const char16_t* text) {
        assign(text);
        return *this;
    }
    KelString& operator=(std::nullptr_t) noexcept {
        clear();
        return *this;
    }

    void swap(KelString& other) noexcept;
    friend void swap(KelString& a, KelString& b) noexcept { a.swap(b); }

    // --- Reading ------------------------------------------------------------------------------------------
    // No text at all; no units; text that the caller keeps alive.
    [[nodiscard]] bool isNull() const noexcept { return text_ == nullptr; }
    [[nodiscard]] bool isEmpty() const noexcept { return text_ == nullptr || *text_ == 0; }
    [[nodiscard]] bool isBorrowed() const noexcept { return text_ != nullptr && textBytes_ == 0; }
    // In units. Free, but for a borrowed text, whose units are counted.
    [[nodiscard]] std::size_t length() const noexcept {
        return textBytes_ > 0 ? ownedLength_ : borrowedLength();
    }
    [[nodiscard]] std::size_t capacity() const noexcept {  // units that fit without a new buffer
        return textBytes_ > 0 ? static_cast<std::size_t>(textBytes_) / sizeof(char16_t) - 1 : 0;
    }

    // Valid until the string changes or dies.
    [[nodiscard]] std::u16string_view view() const& noexcept { return {c_str(), length()}; }
    std::u16string_view view() const&& = delete;
    [[nodiscard]] const char16_t* c_str() const& noexcept { return text_ == nullptr ? u"" : text_; }
    const char16_t* c_str() const&& = delete;

    [[nodiscard]] char16_t operator[](std::size_t index) const noexcept { return text_[index]; }  // unchecked

    // The host's classification of the unit; without one that of the C library. False beyond the text.
    [[nodiscard]] bool isDigit(std::int32_t index) const;
    [[nodiscard]] bool isSpace(std::int32_t index) const;

    // The 8-bit form: as the host converts it; without a host's conversion units from 128 on are dropped.
    // A form lent by borrowNarrow is given back as it is. Valid until the next call, change or death.
    [[nodiscard]] const char* narrow() const&;
    const char* narrow() const&& = delete;

    // Negative, zero, positive, as the host orders texts; without a host by unit values, a prefix first.
    [[nodiscard]] std::int32_t compare(const KelString& other) const;
    friend bool operator<(const KelString& a, const KelString& b) { return a.compare(b) < 0; }
    friend bool operator>(const KelString& a, const KelString& b) { return a.compare(b) > 0; }

    // Equality is always unit for unit.
    friend bool operator==(const KelString& a, const KelString& b) noexcept { return a.view() == b.view(); }
    friend bool operator==(const KelString& a, std::u16string_view b) noexcept { return a.view() == b; }
    friend bool operator==(const KelString& a, const char16_t* b) noexcept {
        return a.view() == (b == nullptr ? std::u16string_view() : std::u16string_view(b));
    }

    // --- Changing -----------------------------------------------------------------------------------------
    // The text may be part of this string. A buffer that is large enough is kept.
    KelString& assign(std::u16string_view text);
    KelString& assign(const char16_t* text);  // null makes the null string
    KelString& assign(const KelString& other) {
        if (!fitsInPlace(other)) return assignSlowly(other);
        std::char_traits<char16_t>::copy(text_, other.text_, other.ownedLength_ + std::size_t{1});
        ownedLength_ = other.ownedLength_;
        dropBorrowedNarrow();
        return *this;
    }
    KelString& assignNarrow(const char* text, std::int32_t length = -1);  // widened as in the constructor
    KelString& assignNarrow(std::string_view text);

    // Cost follows what is appended: a buffer that is too small at least doubles.
    KelString& append(std::u16string_view text);
    KelString& append(const KelString& other) { return appendWhole(other.view()); }
    KelString& append(const char16_t* text) { return appendWhole(std::u16string_view(text)); }
    KelString& append(char16_t unit) {
        if (unit == 0 || ownedLength_ >= capacity()) return appendSlowly(unit);
        text_[ownedLength_] = unit;
        endText(ownedLength_ + 1);
        dropBorrowedNarrow();
        return *this;
    }
    KelString& appendNarrow(std::string_view text);  // widened as in the constructor
    // As append.
    template <class Text>
    KelString& operator+=(const Text& text) {
        return append(text);
    }

    // Becomes `units` units that write(char16_t*) puts there, none of them NUL, none read from this string.
    template <class Write>
    void overwrite(std::size_t units, Write write) {
        write(beginAssign(units));
        endText(units);
    }

    // The same after the text that is there.
    template <class Write>
    void extend(std::size_t units, Write write) {
        const std::size_t before = length();
        write(beginAppend(units));
        endText(before + units);
    }

    void clear() noexcept;            // the null string; all storage goes back
    void makeEmpty() noexcept;        // the empty string; an own buffer is kept for what comes next
    void reserve(std::size_t units);  // room for so many without another buffer; the text stays

    // Lends a ready narrow form, which the caller keeps alive until the text changes or the string dies.
    void borrowNarrow(const char* text) noexcept;

    // --- New strings --------------------------------------------------------------------------------------
    [[nodiscard]] KelString toLower() const;  // without a host only A to Z change
    [[nodiscard]] KelString toUpper() const;  // without a host only a to z change

    // The units before `start`, then the replacement, then the units from `end` on. Positions beyond the text
    // mean its end.
    [[nodiscard]] KelString replaceRange(std::size_t start, std::size_t end,
                                         std::u16string_view replacement) const;

    // A copy normalised by the host, in which every unit that the host calls a space becomes the replacement;
    // a plain space replaces nothing. Without a host an unchanged copy.
    [[nodiscard]] KelString mapWhitespace(char16_t replacement) const;

private:
    // Whether both own their texts, and the other's has room in our buffer.
    [[nodiscard]] bool fitsInPlace(const KelString& other) const noexcept {
        return this != &other && other.textBytes_ > 0 && textBytes_ > 0 &&
               other.ownedLength_ < static_cast<std::size_t>(textBytes_) / sizeof(char16_t);
    }
    KelString& assignSlowly(const KelString& other);
    KelString& assignWhole(std::u16string_view text);     // has no NUL
    KelString& assignWholeNarrow(std::string_view text);  // has no NUL
    KelString& appendWhole(std::u16string_view text) {    // has no NUL
        const std::size_t before = ownedLength_;
        if (before + text.size() >= static_cast<std::size_t>(textBytes_) / sizeof(char16_t))
            return appendGrowing(text);
        std::char_traits<char16_t>::copy(text_ + before, text.data(), text.size());
        endText(before + text.size());
        dropBorrowedNarrow();
        return *this;
    }
    KelString& appendGrowing(std::u16string_view text);
    // The slots then point to what is no longer ours.
    void giveBackAll() noexcept {
        if (textBytes_ > 0) kel::giveBackBuffer(textBytes_, text_);
        if (narrowBytes_ > 0) kel::giveBackBuffer(narrowBytes_, narrow_);
        if (extraBytes_ > 0) kel::giveBackBuffer(extraBytes_, extra_);
    }
    [[nodiscard]] std::size_t borrowedLength() const noexcept;
    [[nodiscard]] bool owns(const char16_t* unit) const noexcept;
    [[nodiscard]] char16_t* beginAssign(std::size_t units);
    [[nodiscard]] char16_t* beginAppend(std::size_t units);
    void growBuffer(std::size_t units);  // keeps the text
    void replaceBuffer(std::size_t units, std::u16string_view keep);
    KelString& appendSlowly(char16_t unit);
    void endText(std::size_t units) noexcept {
        text_[units] = 0;
        ownedLength_ = static_cast<std::uint32_t>(units);
    }
    // Our own narrow form is rebuilt on every request; a lent one would go on saying what the text was.
    void dropBorrowedNarrow() noexcept {
        if (narrowBytes_ == 0) narrow_ = nullptr;
    }
    [[nodiscard]] char* roomForNarrow(std::size_t length) const;

    // A slot whose bytes are 0 borrows what it points to.
    char16_t* text_ = nullptr;
    std::int32_t textBytes_ = 0;
    std::uint32_t ownedLength_ = 0;  // units before the NUL while the text is our own
    mutable char* narrow_ = nullptr;
    mutable std::int32_t narrowBytes_ = 0;
    void* extra_ =
        nullptr;  // a further cached form, which other components fill; moved and freed with the rest
    std::int32_t extraBytes_ = 0;
};
