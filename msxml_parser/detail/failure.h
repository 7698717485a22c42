// How the parsers report a failure: a code and a message in the words of the current translator.
#pragma once

#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/message.h"

namespace msxml {

// Sets the message alone. `arguments` fill the template's numbered places.
template <typename Error, typename... Arguments>
void setMessage(Error& error, const char* messageTemplate, const Arguments&... arguments) {
    KelString message;
    error.setMessage(kel::translate(message, messageTemplate, arguments...));
}

// Sets both; returns false, the answer of the failing operation.
template <typename Error, typename... Arguments>
bool fail(Error& error, int code, const char* messageTemplate, const Arguments&... arguments) {
    error.setCode(code);
    setMessage(error, messageTemplate, arguments...);
    return false;
}

}  // namespace msxml
