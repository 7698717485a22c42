// Text put into markup.
#pragma once

#include <string>
#include <string_view>

namespace kelxml {

// Fit for the value of an attribute between either kind of quotes, line ends and tabs included.
[[nodiscard]] std::string escapedValue(std::string_view utf8);

}  // namespace kelxml
