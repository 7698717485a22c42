// Lines of text for a terminal, in columns: an East Asian character takes two.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelxml {

// Breaks at spaces, and between East Asian characters, which need none. A word that is longer than the line
// stays whole.
[[nodiscard]] std::vector<std::string> wrapped(std::string_view utf8, std::size_t widthInColumns);

// What a line may be broken between: spaces, words, and single East Asian characters with the punctuation
// that belongs to them. Together they are the text.
[[nodiscard]] std::vector<std::string> pieces(std::string_view utf8);

}  // namespace kelxml
