// The encoding of the user's terminal. Threads: any, once the language is set.
#pragma once

#include <string>
#include <string_view>

namespace kelxml {

// The text in the encoding that the user's locale names, with '?' for what it lacks; as it is where that is
// UTF-8 or ASCII, which is what a system reports without a setting.
[[nodiscard]] std::string inTerminalEncoding(std::string_view utf8);

}  // namespace kelxml
