// The framework's narrow string: 8-bit characters, NUL-terminated. Text handed in ends at its first NUL.
// A string without text is empty. Positions and lengths are in bytes.
// Failure: more than kMaxBytes throws std::length_error, no memory ends as buffers.h says; the string is then
// unchanged. Threads: const operations may run together; a change needs the string to itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string_view>

#include "KelBasicTypes/buffers.h"

class KelCString final {
public:
    static constexpr std::size_t kMaxBytes = kel::kMaxBufferBytes - 1;  // without the NUL

    KelCString() noexcept = default;
    // Copied; null makes an empty string.
    // NOLINTNEXTLINE(google-explicit-constructor): texts are welcome wherever a string is
    KelCString(const char* text) { assign(text == nullptr ? std::string_view() : std::string_view(text)); }
    // NOLINTNEXTLINE(google-explicit-constructor)
    KelCString(std::string_view text) { assign(text); }
    KelCString(const KelCString& other) { assign(other.view()); }
    KelCString(KelCString&& other) noexcept { swap(other); }
    ~KelCString() { clear(); }

    KelCString& operator=(const KelCString& other) {
        if (this != &other) assign(other.view());
        return *this;
    }
    KelCString& operator=(KelCString&& other) noexcept;
    void swap(KelCString& other) noexcept;
    friend void swap(KelCString& a, KelCString& b) noexcept { a.swap(b); }

    // --- Reading ------------------------------------------------------------------------------------------
    // Cost: none; the length is kept.
    [[nodiscard]] std::size_t length() const noexcept { return length_; }
    [[nodiscard]] bool isEmpty() const noexcept { return length_ == 0; }
    [[nodiscard]] char operator[](std::size_t index) const noexcept { return text_[index]; }  // unchecked

    // Valid until the string changes or dies.
    [[nodiscard]] const char* c_str() const& noexcept { return text_ == nullptr ? "" : text_; }
    const char* c_str() const&& = delete;
    [[nodiscard]] std::string_view view() const& noexcept { return {c_str(), length_}; }
    std::string_view view() const&& = delete;

    // By bytes; equality and order agree.
    friend bool operator==(const KelCString& a, const KelCString& b) noexcept { return a.view() == b.view(); }
    friend bool operator==(const KelCString& a, std::string_view b) noexcept { return a.view() == b; }
    friend bool operator==(const KelCString& a, const char* b) noexcept { return a.view() == b; }
    friend bool operator<(const KelCString& a, const KelCString& b) noexcept { return a.view() < b.view(); }

    // By bytes; every string starts with the empty one.
    [[nodiscard]] bool startsWith(std::string_view prefix) const noexcept;
    // Negative, zero, positive; each byte lowered as the C library does.
    [[nodiscard]] std::int32_t compareIgnoreCase(std::string_view other) const noexcept;

    // The first position at or after `start`, -1 if there is none. An empty needle is at 0, whatever `start`.
    // A negative start fails the assertion "start >= 0" and finds nothing.
    [[nodiscard]] std::int32_t find(std::string_view needle, std::int32_t start = 0) const;

    // 0.0 for an empty string. No number: std::invalid_argument ("invalid stof argument"), beyond the type's
    // range: std::out_of_range ("stof argument out of range"); "stod" for toDouble.
    [[nodiscard]] float toFloat() const;
    [[nodiscard]] double toDouble() const;

    // --- Changing -----------------------------------------------------------------------------------------
    // The text may be part of this string.
    KelCString& assign(std::string_view text);
    KelCString& assignLowBytes(
        std::u16string_view text);              // the low byte of each unit, up to the first that is 0
    KelCString& append(std::string_view text);  // which may be part of this string
    KelCString& operator+=(std::string_view text) { return append(text); }  // as append
    void clear() noexcept;                                                  // the storage goes back

    // Every occurrence, from the left, without looking at what was put in. An empty `from` occurs nowhere.
    KelCString& replaceAll(std::string_view from, std::string_view to);
    KelCString& trim();     // isspace characters at both ends
    KelCString& toUpper();  // each byte as the C library does

    // The next line without its end. False at the end of the stream; the string is then empty.
    bool readLine(std::istream& in);

private:
    [[nodiscard]] char* makeRoom(std::size_t bytes, std::size_t keep);
    void endText(std::size_t bytes) noexcept;

    char* text_ = nullptr;
    std::int32_t textBytes_ = 0;
    std::uint32_t length_ = 0;
};
