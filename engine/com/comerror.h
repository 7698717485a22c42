// The exception that carries a failed engine call to the caller: a status and, if there is one, a
// description a person can read. Public and self-contained, for programs outside catch it across the library
// boundary: everything here is inline and owns its memory through the standard library.
// Threads: const operations may run together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

using HRESULT = std::int32_t;  // negative: failed
using OLECHAR = char16_t;      // a UTF-16 unit

// An immutable UTF-16 text, shared between its copies.
class _bstr_t {
public:
    _bstr_t() noexcept = default;
    // Copied; an empty text becomes none at all.
    explicit _bstr_t(std::u16string_view text)
        : text_(text.empty() ? nullptr : std::make_shared<const std::u16string>(text)) {}

    [[nodiscard]] unsigned int length() const noexcept {  // in UTF-16 units
        return text_ ? static_cast<unsigned int>(text_->size()) : 0;
    }
    // Null for an empty text, else zero-terminated; lives as long as this object or a copy of it.
    // NOLINTNEXTLINE(google-explicit-constructor): the platform's class converts like this.
    operator const OLECHAR*() const noexcept { return text_ ? text_->c_str() : nullptr; }

private:
    std::shared_ptr<const std::u16string> text_;
};

class _com_error {
public:
    // What failed, and why if that is known.
    explicit _com_error(HRESULT status, _bstr_t description = {}) noexcept
        : status_(status), description_(std::move(description)), unknown_{} {
        std::snprintf(unknown_, sizeof unknown_, "Unknown error 0x%08X", static_cast<unsigned int>(status));
    }
    virtual ~_com_error() = default;
    _com_error(const _com_error&) = default;
    _com_error& operator=(const _com_error&) = default;

    // The status of the failed call.
    [[nodiscard]] HRESULT Error() const noexcept { return status_; }
    // The description attached to the failure; empty when there is none.
    [[nodiscard]] _bstr_t Description() const noexcept { return description_; }
    // A plain sentence for the status itself; lives as long as this object.
    [[nodiscard]] const char* ErrorMessage() const noexcept {
        for (const Known& known : kKnown) {
            if (known.status == static_cast<std::uint32_t>(status_)) return known.message;
        }
        return unknown_;
    }

private:
    struct Known {
        std::uint32_t status;
        const char* message;
    };
    static constexpr Known kKnown[] = {
        {0x80004001, "Not implemented"},
        {0x80004002, "No such interface supported"},
        {0x80004003, "Invalid pointer"},
        {0x80004005, "Unspecified error"},
        {0x8000FFFF, "Catastrophic failure"},
        {0x80020005, "Type mismatch"},
        {0x80040154, "Class not registered"},
        {0x80070005, "Access is denied"},
        {0x8007000E, "Not enough memory to complete this operation"},
        {0x80070057, "The parameter is incorrect"},
    };

    HRESULT status_;
    _bstr_t description_;
    char unknown_[32];
};
