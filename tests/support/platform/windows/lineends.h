// The line ends of text files. Each platform has a header of this name.
#pragma once

#include <string>

namespace kel::test {

// The text with its system's line ends as line feeds.
[[nodiscard]] inline std::string withLineFeeds(std::string text) {
    std::erase(text, '\r');
    return text;
}

}  // namespace kel::test
