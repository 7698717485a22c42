#include "KelBasicTypes/platform/nativepath.h"

namespace kel::platform {

std::filesystem::path nativePath(std::u16string_view path) {
    if (path.find(u'\0') != std::u16string_view::npos) return {};
    return {std::u16string(path)};
}

std::u16string unitsOf(const std::filesystem::path& path) {
    return path.u16string();
}

}  // namespace kel::platform
