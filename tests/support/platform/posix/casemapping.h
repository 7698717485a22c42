// What the platform's rules make of letters. Each platform has a header of this name.
#pragma once

namespace kel::test {

inline constexpr const char16_t* kStrasseInCapitals = u"STRASSE";  // case may change the length

}  // namespace kel::test
