#include "tools/kelxml/platform/encoding.h"

namespace kelxml {

// startUp has made the console take UTF-8.
std::string inTerminalEncoding(std::string_view utf8) {
    return std::string(utf8);
}

}  // namespace kelxml
