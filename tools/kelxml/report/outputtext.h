// Text in the forms that output needs. Threads: no shared state.
#pragma once

#include <string>
#include <string_view>

#include "KelBasicTypes/kelstring.h"

namespace kelxml {

// A JSON string, quoted. Bytes that are not UTF-8 become U+FFFD, so that every reader takes the result.
[[nodiscard]] std::string jsonString(std::string_view utf8);

// Appends the same of text that comes from a parser.
void appendJsonString(std::string& json, std::u16string_view text);

// XML: fit for the value of an attribute between either kind of quotes, line ends and tabs included.
[[nodiscard]] std::string escapedValue(std::string_view utf8);

// The result of a transformation, as a file. The parser's text is UTF-16, and what declares its encoding says
// so. A file is UTF-8, and says that.
[[nodiscard]] std::string utf8Of(const KelString& result);

}  // namespace kelxml
