// What a transformation produced, as a file.
#pragma once

#include <string>

#include "KelBasicTypes/kelstring.h"

namespace kelxml {

// The parser's text is UTF-16, and what declares its encoding says so. A file is UTF-8, and says that.
[[nodiscard]] std::string utf8Of(const KelString& result);

}  // namespace kelxml
