// How the component reports a failure: a parser by a code and a message in the words of the current
// translator, every operation by `_com_error`, the only exception of the component's own that leaves it.
#pragma once

#include <exception>
#include <new>
#include <stdexcept>
#include <utility>

#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/message.h"
#include "msxml_parser/detail/platformcom.h"

namespace msxml {

// In a handler: memory that could not be had, and a length beyond all memory, leave as _com_error with
// E_OUTOFMEMORY; every other exception leaves as it is.
[[noreturn]] inline void raiseAsComError() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        throw _com_error(E_OUTOFMEMORY);
    } catch (const std::length_error&) {
        throw _com_error(E_OUTOFMEMORY);
    }
}

// Runs `body`, returns what it returns, and lets exceptions out as above.
template <typename Body>
decltype(auto) atBorder(Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (const std::exception&) {
        raiseAsComError();
    }
}

// Sets the message alone. `arguments` fill the template's placeholders.
template <typename Error, typename... Arguments>
void setMessage(Error& error, const char* messageTemplate, const Arguments&... arguments) {
    KelString message;
    error.setMessage(kel::translate(message, messageTemplate, arguments...));
}

// Sets both; returns false, for the failing operation to return.
template <typename Error, typename... Arguments>
bool fail(Error& error, int code, const char* messageTemplate, const Arguments&... arguments) {
    error.setCode(code);
    setMessage(error, messageTemplate, arguments...);
    return false;
}

}  // namespace msxml
