// JSON texts.
#pragma once

#include <string>
#include <string_view>

namespace kelxml {

// Quoted. Bytes that are not UTF-8 become U+FFFD, so that every reader takes the result.
[[nodiscard]] std::string jsonString(std::string_view utf8);

// Appends the same of text that comes from a parser.
void appendJsonString(std::string& json, std::u16string_view text);

}  // namespace kelxml
