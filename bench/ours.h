// The direct path to the component, as an application without a component manager takes it.
// Threads: one, the one that came first.
#pragma once

#include <string_view>

#include "KelBasicTypes/kelstring.h"
#include "bench/utf16.h"
#include "msxml_parser/msxml_parser.h"

namespace bench {

inline XmlDOM& dom() {
    static XmlDOM wrapper;
    return wrapper;
}

inline XmlSAX& sax() {
    static XmlSAX wrapper;
    return wrapper;
}

inline KelString toKelString(std::string_view utf8) {
    std::u16string units;
    return KelString(toUtf16(utf8, units));
}

}  // namespace bench
