// Errors of msxml_parser/xml.h, in two forms: thrown as an Exception, or returned in a Result by the
// operations whose names begin with `try` and by attempt(). Memory that runs out is std::bad_alloc in the
// first form and ErrorCode::OutOfMemory in the second. What callers' own functions and streams throw comes
// out as it is. Threads: plain values.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "msxml_parser/comerror.h"
#include "msxml_parser/xml/utf8.h"

namespace msxml_parser {

// What kind of failure it was.
enum class ErrorCode : int {
    None = 0,
    NotReadable,    // a file that is missing, a folder, or not permitted; a stream that failed
    BadDocument,    // not well formed, in an unknown encoding, or with a DOCTYPE that was not allowed
    LimitExceeded,  // nested too deep, or too much text out of entities
    NotValid,       // does not fit the schema
    NotWritable,    // the file cannot be created
    NotWritten,     // the medium took no more, or the document cannot be written in this encoding
    BadExpression,  // wrong, of a wrong type, or more work than is allowed; the column is in the expression
    NotElements,    // the expression selects attributes, texts or other nodes
    NotCompiled,    // there is no schema or style sheet yet
    Rejected,       // by the engine: a wrong name, a cycle, a second root, an erroneous schema or style sheet
    TransformFailed,  // the style sheet ended with an error, or its result is not a document
    InvalidArgument,  // text that is no text, a wrong name, an element that is not where it must be
    NoElement,        // there is none: an empty document, an object that was moved from
    NoEngine,         // the engine could not be made
    OutOfMemory,      // only in a Result
};

// What failed, as far as it is known.
struct Error {
    ErrorCode code = ErrorCode::None;  // None: no failure
    std::string message;               // whole, in the language of the component's messages; UTF-8
    std::string reason;                // what was wrong, without file and position
    std::string file;                  // that was read or written; empty: none
    int line = 0;                      // from 1; 0: not in a particular position
    int column = 0;                    // in characters, from 1
    std::string path;                  // of the element that is not valid: "/list[1]/p:item[3]"
    std::int32_t status = 0;           // the engine's, where it raised one
};

// An Error as it is thrown; what() is its message.
class Exception : public std::runtime_error {
public:
    // Of this error, which it keeps.
    explicit Exception(Error error)
        : std::runtime_error(error.message), error_(std::make_shared<const Error>(std::move(error))) {}

    // As long-lived as the exception or a copy of it.
    [[nodiscard]] const Error& error() const noexcept { return *error_; }
    [[nodiscard]] ErrorCode code() const noexcept { return error_->code; }
    [[nodiscard]] int line() const noexcept { return error_->line; }
    [[nodiscard]] int column() const noexcept { return error_->column; }
    [[nodiscard]] const std::string& path() const noexcept { return error_->path; }
    [[nodiscard]] const std::string& file() const noexcept { return error_->file; }
    [[nodiscard]] const std::string& reason() const noexcept { return error_->reason; }

private:
    std::shared_ptr<const Error> error_;  // so that copying an exception throws nothing
};

// A value, or the error why there is none.
template <class T>
class [[nodiscard]] Result final {
public:
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;  // of void: std::monostate

    // What an operation returned, or why it failed.
    // NOLINTBEGIN(google-explicit-constructor): operations return one or the other
    Result(Value value) : content_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}
    // NOLINTEND(google-explicit-constructor)

    // Whether there is a value.
    [[nodiscard]] explicit operator bool() const noexcept { return content_.index() == 0; }
    [[nodiscard]] bool hasValue() const noexcept { return content_.index() == 0; }

    // Without a value: throws the error as an Exception.
    Value& value() & {
        demandValue();
        return std::get<0>(content_);
    }
    Value&& value() && {
        demandValue();
        return std::get<0>(std::move(content_));
    }
    Value& operator*() & { return value(); }
    Value* operator->() { return &value(); }

    // With a value: an error with the code None. As long-lived as the result.
    [[nodiscard]] const Error& error() const& noexcept {
        static const Error kNone;
        const Error* const error = std::get_if<1>(&content_);
        return error != nullptr ? *error : kNone;
    }

private:
    void demandValue() const {
        if (!hasValue()) throw Exception(error());
    }

    std::variant<Value, Error> content_;
};

namespace detail {

[[noreturn]] inline void fail(ErrorCode code, std::string reason) {
    Error error;
    error.code = code;
    error.message = reason;
    error.reason = std::move(reason);
    throw Exception(std::move(error));
}

// Its text is short enough for a string's own storage.
inline Error outOfMemory() noexcept {
    Error error;
    error.code = ErrorCode::OutOfMemory;
    error.message = "out of memory";
    return error;
}

inline ErrorCode codeOf(std::uint32_t status) noexcept {
    if (status == 0x80004003) return ErrorCode::NoElement;        // E_POINTER
    if (status == 0x80070057) return ErrorCode::InvalidArgument;  // E_INVALIDARG
    if (status == 0x80040154) return ErrorCode::NoEngine;         // REGDB_E_CLASSNOTREG
    return ErrorCode::Rejected;
}

// Throws what the component's exception, which is no std::exception, says.
[[noreturn]] inline void raise(const _com_error& failure) {
    constexpr std::uint32_t kOutOfMemory = 0x8007000E;
    const auto status = static_cast<std::uint32_t>(failure.Error());
    if (status == kOutOfMemory) throw std::bad_alloc();
    Error error;
    error.code = codeOf(status);
    error.status = static_cast<std::int32_t>(status);
    try {
        assignUtf8(error.reason, msxml::descriptionTextOf(failure));
    } catch (const _com_error&) {  // the platform's strings raise it where there is no memory
        throw std::bad_alloc();
    }
    if (error.reason.empty()) {
        char text[48];
        std::snprintf(text, sizeof text, "The engine failed with status 0x%08X",
                      static_cast<unsigned>(status));
        error.reason = error.code == ErrorCode::NoElement ? "There is no such element" : text;
    }
    error.message = error.reason;
    throw Exception(std::move(error));
}

// Runs `body` and returns what it returns. No _com_error leaves.
template <class Body>
decltype(auto) guarded(Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (const _com_error& failure) {
        raise(failure);
    }
}

}  // namespace detail

// Runs operations and returns the first error instead of throwing it:
//
//     auto edited = xml::attempt([&] { root.setAttribute("checked", "yes"); });
//     if (!edited) std::cerr << edited.error().message;
template <class Operations>
auto attempt(Operations&& operations) -> Result<std::invoke_result_t<Operations>> {
    try {
        return detail::guarded([&]() -> Result<std::invoke_result_t<Operations>> {
            if constexpr (std::is_void_v<std::invoke_result_t<Operations>>) {
                std::forward<Operations>(operations)();
                return std::monostate();
            } else {
                return std::forward<Operations>(operations)();
            }
        });
    } catch (const Exception& failure) {
        return failure.error();
    } catch (const std::bad_alloc&) {
        return detail::outOfMemory();
    }
}

}  // namespace msxml_parser
