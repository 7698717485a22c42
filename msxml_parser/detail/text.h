// Texts between the engine and the framework: owned strings and variants of the engine, its descriptions of
// errors as framework strings. Threads: no shared state.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "KelBasicTypes/detail/lanes.h"
#include "KelBasicTypes/kelcstring.h"
#include "KelBasicTypes/kelstring.h"
#include "msxml_parser/comerror.h"
#include "msxml_parser/detail/comptr.h"
#include "msxml_parser/detail/platformcom.h"

namespace msxml {

// The one place that knows the platform's wide unit: it is 16 bits everywhere, under different names.
[[nodiscard]] inline std::u16string_view toUnits(const OLECHAR* text, std::size_t length) noexcept {
    static_assert(sizeof(OLECHAR) == sizeof(char16_t));
    if (text == nullptr) return {};
    return {reinterpret_cast<const char16_t*>(text), length};
}
// As callbacks of SAX pass texts; a negative length is none.
[[nodiscard]] inline std::u16string_view textOfEvent(const OLECHAR* text, int length) noexcept {
    return toUnits(text, length > 0 ? static_cast<std::size_t>(length) : 0);
}
[[nodiscard]] inline const OLECHAR* toOleChars(const char16_t* text) noexcept {
    return reinterpret_cast<const OLECHAR*>(text);
}

// An owned engine string. Null and empty are one to its readers.
class BStr final {
public:
    BStr() noexcept = default;
    explicit BStr(std::u16string_view text);  // raises _com_error with E_OUTOFMEMORY
    BStr(BStr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    BStr& operator=(BStr&& other) noexcept {
        std::swap(text_, other.text_);
        return *this;
    }
    ~BStr() { SysFreeString(text_); }

    [[nodiscard]] BSTR get() const noexcept { return text_; }
    [[nodiscard]] BSTR detach() noexcept { return std::exchange(text_, nullptr); }
    // For out-parameters: frees what is held and takes over what is written.
    [[nodiscard]] BSTR* receive() noexcept {
        SysFreeString(std::exchange(text_, nullptr));
        return &text_;
    }
    [[nodiscard]] std::u16string_view view() const& noexcept { return toUnits(text_, SysStringLen(text_)); }
    std::u16string_view view() && = delete;

private:
    BSTR text_ = nullptr;
};

// A text on its way into an engine call, which reads it and keeps nothing of it. A short one needs no
// allocation, only the layout of a BSTR: the length in bytes before the text, and a zero after it.
class BStrArgument final {
public:
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): of the storage only what is used is written.
    explicit BStrArgument(std::u16string_view text) {  // raises _com_error with E_OUTOFMEMORY
        if (text.size() > kShort) {
            long_ = BStr(text);
            return;
        }
        const auto lengthInBytes = static_cast<std::uint32_t>(text.size() * sizeof(OLECHAR));
        std::memcpy(storage_ + kLengthAt, &lengthInBytes, sizeof lengthInBytes);
        *kel::detail::copyUnits(text, reinterpret_cast<char16_t*>(storage_ + kTextAt)) = u'\0';
    }
    BStrArgument(const BStrArgument&) = delete;
    BStrArgument& operator=(const BStrArgument&) = delete;

    // Borrowed, as is what the variant holds.
    [[nodiscard]] BSTR get() const noexcept {
        return long_.get() != nullptr
                   ? long_.get()
                   : reinterpret_cast<BSTR>(const_cast<unsigned char*>(storage_) + kTextAt);
    }
    [[nodiscard]] VARIANT variant() const noexcept {
        VARIANT result;
        VariantInit(&result);
        result.vt = VT_BSTR;
        result.bstrVal = get();
        return result;
    }

private:
    static constexpr std::size_t kShort = 128;  // in units
    static constexpr std::size_t kTextAt = 8;
    static constexpr std::size_t kLengthAt = kTextAt - sizeof(std::uint32_t);

    BStr long_;
    alignas(kTextAt) unsigned char storage_[kTextAt + (kShort + 1) * sizeof(OLECHAR)];
};

// An owned variant.
class Variant final {
public:
    Variant() noexcept { VariantInit(&value_); }
    explicit Variant(std::u16string_view text);  // VT_BSTR; raises _com_error with E_OUTOFMEMORY
    explicit Variant(
        IDispatch* object) noexcept;  // VT_DISPATCH with a count of its own; null is held as null
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { clear(); }

    // For calls that take a variant by value: borrowed, still owned here.
    [[nodiscard]] const VARIANT& get() const noexcept { return value_; }
    // For out-parameters: clears what is held and takes over what is written.
    [[nodiscard]] VARIANT* receive() noexcept {
        clear();
        return &value_;
    }
    // The text of a VT_BSTR; every other type is empty.
    [[nodiscard]] std::u16string_view text() const& noexcept {
        if (value_.vt != VT_BSTR) return {};
        return toUnits(value_.bstrVal, SysStringLen(value_.bstrVal));
    }
    std::u16string_view text() && = delete;

private:
    void clear() noexcept {
        if (value_.vt == VT_EMPTY) return;
        if (value_.vt == VT_BSTR) {  // as nearly all are: what VariantClear does then, without the call
            SysFreeString(std::exchange(value_.bstrVal, nullptr));
            value_.vt = VT_EMPTY;
        } else {
            (void)VariantClear(&value_);  // nothing could be done about a failure
        }
    }

    VARIANT value_;
};

// Replaces the string's content, in its own buffer if that is large enough. The engine's texts hold no NUL,
// so that none has to be looked for.
inline void assign(KelString& out, std::u16string_view text) {
    out.overwrite(text.size(), [&](char16_t* to) { std::copy(text.begin(), text.end(), to); });
}
inline void assign(KelCString& out, std::u16string_view text) {
    out.assignLowBytes(text);
}  // the low bytes

// What an engine says is wrong, translated (reasons.h), without the line end that the platform's texts have;
// null is empty.
[[nodiscard]] KelString trimmedReason(const OLECHAR* message);

// The description attached to an engine failure, translated; empty if there is none.
[[nodiscard]] KelString descriptionOf(const _com_error& error);

// A position in a document.
struct SourcePosition {
    int line = 0;  // from 1; 0: unknown
    int column = 0;
};

// The engine's record of a rejected document, as texts for a message.
struct RejectionTexts {
    KelString line;
    KelString column;
    KelString reason;  // translated
    SourcePosition position;
};

// Raises _com_error if the record cannot be read.
[[nodiscard]] RejectionTexts readRejection(const ComPtr<IXMLDOMParseError>& record);
[[nodiscard]] KelString readReason(const ComPtr<IXMLDOMParseError>& record);
[[nodiscard]] bool holdsError(const ComPtr<IXMLDOMParseError>& record);

}  // namespace msxml
