#include "tools/kelxml/platform/startup.h"

namespace kelxml {

std::vector<std::string> startUp(int argc, const char* const* argv) {
    return {argv, argv + argc};
}

}  // namespace kelxml
