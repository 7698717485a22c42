#include "KelBasicTypes/platform/nativepath.h"

#include <algorithm>
#include <utility>

#include "KelBasicTypes/utf8.h"

namespace kel::platform {

std::filesystem::path nativePath(std::u16string_view path) {
    if (path.find(u'\0') != std::u16string_view::npos) return {};
    std::string bytes = toUtf8(path);
    std::replace(bytes.begin(), bytes.end(), '\\', '/');
    return {std::move(bytes)};
}

std::u16string unitsOf(const std::filesystem::path& path) {
    return fromUtf8(path.native());
}

}  // namespace kel::platform
