// How the engine's operations fail: with a status, and with error information that a person can act on.
// Threads: error information belongs to the calling thread.
#pragma once

#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "engine/com/com.h"

namespace engine::com {

// Leaves `description` as the thread's error information and returns `status`. Short of memory the
// description is lost, never the status.
HRESULT fail(HRESULT status, std::u16string_view description) noexcept;
HRESULT fail(HRESULT status, std::string_view utf8Description) noexcept;

// Thrown below a guarded operation where a status would have to be passed up by hand.
class Exception final {
public:
    Exception(HRESULT status, std::string utf8Description) noexcept
        : status_(status), description_(std::move(utf8Description)) {}

    [[nodiscard]] HRESULT status() const noexcept { return status_; }
    [[nodiscard]] const std::string& description() const noexcept { return description_; }

private:
    HRESULT status_;
    std::string description_;
};

namespace detail {
HRESULT translateException() noexcept;  // inside a catch block only
}

// Runs `body`, which returns a status, and lets no exception out: Exception gives its own status and
// description, memory that ran out E_OUTOFMEMORY, everything else E_FAIL with the exception's text.
template <typename Body>
HRESULT guarded(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return detail::translateException();
    }
}

// For an operation that was given no address for its result.
HRESULT nullPointer(std::string_view operation) noexcept;

// The frame of an operation with one out-parameter: clears it, and stores what `make` returns, an owned
// string or object. S_FALSE if that is null.
template <typename T, typename Make>
HRESULT give(T** out, std::string_view operation, Make&& make) noexcept {
    if (out == nullptr) return nullPointer(operation);
    *out = nullptr;
    return guarded([&] {
        if constexpr (requires { make().detach(); }) {
            *out = make().detach();
        } else {
            *out = make();
        }
        return *out == nullptr ? S_FALSE : S_OK;
    });
}

// A new string holding `utf8` as UTF-16, never null for a text. Throws std::bad_alloc.
[[nodiscard]] BSTR makeBstr(std::string_view utf8);
[[nodiscard]] BSTR makeBstr(std::u16string_view text);
// The same for the first `length` of text::kBlock bytes, zeros after a shorter text, as tables of names have
// them.
[[nodiscard]] BSTR makeBstrOfBlock(const char* block, std::size_t length);

// The text of a BSTR; null counts as empty. Borrowed from it.
[[nodiscard]] inline std::u16string_view textOf(const OLECHAR* text) noexcept {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text, SysStringLen(text));
}

}  // namespace engine::com
