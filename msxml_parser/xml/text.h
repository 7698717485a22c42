// Text of msxml_parser/xml.h: UTF-8 and UTF-16 go in and out without loss.
//
// A surrogate without its partner, which a document's text may hold, is three bytes in UTF-8, and those bytes
// are taken back as the same unit. Every other sequence that is no UTF-8, and U+0000, is rejected where it
// goes in (ErrorCode::InvalidArgument). Threads: no shared state.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "KelBasicTypes/kelstring.h"
#include "msxml_parser/xml/error.h"
#include "msxml_parser/xml/utf8.h"

namespace msxml_parser {

// Storage for a result in UTF-16, to be used again for the next one.
class Buffer final {
public:
    using View = std::u16string_view;  // what operations return that are given one

    // The result of the last operation that was given this buffer; valid until the next one, or its death.
    [[nodiscard]] View view() const& noexcept { return units_.view(); }
    View view() const&& = delete;

    [[nodiscard]] KelString& units() noexcept { return units_; }  // where an interface puts it,
    void finish() noexcept {}                                     // and what is then done

private:
    KelString units_;
};

// The same in UTF-8.
class Utf8Buffer final {
public:
    using View = std::string_view;  // what operations return that are given one

    // As that of a Buffer.
    [[nodiscard]] View view() const& noexcept { return bytes_; }
    View view() const&& = delete;

    // As those of a Buffer.
    [[nodiscard]] KelString& units() noexcept { return units_; }
    void finish() { detail::assignUtf8(bytes_, units_.view()); }
    // Hands the bytes over and leaves the buffer empty.
    [[nodiscard]] std::string take() noexcept { return std::move(bytes_); }

private:
    KelString units_;
    std::string bytes_;
};

template <class T>
concept Storage = std::same_as<T, Buffer> || std::same_as<T, Utf8Buffer>;

// A text that goes in, in UTF-8 or UTF-16: the type of parameters, made from whatever the caller has. It
// owns its units. What is wrong with it is reported by the operation that it is given to.
class Text final {
public:
    // A copy of what the caller has; char is UTF-8, char16_t UTF-16.
    // NOLINTBEGIN(google-explicit-constructor): any text is welcome
    Text(std::string_view utf8) { convert(utf8); }
    Text(const std::string& utf8) : Text(std::string_view(utf8)) {}
    Text(const char* utf8) : Text(std::string_view(utf8)) {}
    Text(std::u16string_view units) : units_(units), wrong_(units.find(u'\0')) {}
    Text(const std::u16string& units) : Text(std::u16string_view(units)) {}
    Text(const char16_t* units) : Text(std::u16string_view(units)) {}
    Text(std::nullptr_t) = delete;
    // NOLINTEND(google-explicit-constructor)

    // As the component takes it; as long-lived as the text. Throws Exception, InvalidArgument with the column
    // of the first byte or unit that is wrong.
    [[nodiscard]] const KelString& value() const {
        if (wrong_ != std::string_view::npos) reject();
        return units_;
    }
    [[nodiscard]] std::string utf8() const { return detail::toUtf8(units_.view()); }  // up to what is wrong

private:
    void convert(std::string_view utf8) {
        if (detail::isAscii(utf8)) {
            units_.overwrite(utf8.size(), [utf8](char16_t* to) { std::copy(utf8.begin(), utf8.end(), to); });
            return;
        }
        std::u16string units;
        wrong_ = detail::appendUtf16(units, utf8);
        units_ = units;
    }
    [[noreturn]] void reject() const {
        Error error;
        error.code = ErrorCode::InvalidArgument;
        error.column = static_cast<int>(wrong_) + 1;
        error.message = "Expected UTF-8 or UTF-16 without U+0000, found another byte or unit at position " +
                        std::to_string(wrong_ + 1) + " of a text";
        error.reason = error.message;
        throw Exception(std::move(error));
    }

    KelString units_;
    std::size_t wrong_ = std::string_view::npos;
};

namespace detail {

// Reads a text of `object` through an operation of its interface whose last parameter is for the result.
template <auto kOperation, Storage Out, class Object, class... Arguments>
typename Out::View readInto(Out& out, Object& object, const Arguments&... arguments) {
    guarded([&] { (object.*kOperation)(arguments..., out.units()); });
    out.finish();
    return out.view();
}
template <auto kOperation, class Object, class... Arguments>
std::string readText(Object& object, const Arguments&... arguments) {
    // Room for most texts comes from this side: what a library's own strings took would have to be given back
    // across its border, which costs more than the text.
    constexpr std::size_t kRoomInUnits = 126;
    Utf8Buffer buffer;
    buffer.units().reserve(kRoomInUnits);
    readInto<kOperation>(buffer, object, arguments...);
    return buffer.take();
}

}  // namespace detail

}  // namespace msxml_parser
