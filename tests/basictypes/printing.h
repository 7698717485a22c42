// How failing tests show the framework's strings.
#pragma once

#include <ostream>
#include <string>

#include "KelBasicTypes/kelcstring.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/utf8.h"

inline void PrintTo(const KelString& text, std::ostream* out) {
    *out << '"' << kel::toUtf8(text.view()) << '"' << (text.isNull() ? " (null)" : "");
}
inline void PrintTo(const KelCString& text, std::ostream* out) {
    *out << '"' << text.view() << '"';
}
