// The paths to the component: directly, as an application without a component manager takes it, or through
// the reference host. Threads: any; each thread that asks for a parser is made ready for it.
#pragma once

#include <string_view>

#include "KelBasicTypes/kelstring.h"
#include "bench/utf16.h"
#include "framework/object/iptr.h"
#include "msxml_parser/msxml_parser.h"

namespace bench {

// From here on the whole process works under the reference host: parsers come through it, and its services
// are in use. To be called once, before anything else of ours is, and before there are threads.
void enterHost();

[[nodiscard]] IPtr<IKelDOMXmlV2> newDomParser();
[[nodiscard]] IPtr<IKelSAXXmlV2> newSaxParser();

inline KelString toKelString(std::string_view utf8) {
    std::u16string units;
    return KelString(toUtf16(utf8, units));
}

}  // namespace bench
