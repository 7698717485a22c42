#include "KelBasicTypes/detail/fileactions.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "KelBasicTypes/platform/nativepath.h"
#include "KelBasicTypes/platform/process.h"

namespace kel::detail {

KelString unfinishedPath(const KelString& path) {
    char suffix[sizeof ".00000000-00000000.part"];
    std::snprintf(suffix, sizeof suffix, ".%08x-%08x.part", kel::platform::processId(),
                  static_cast<unsigned>(kel::platform::performanceCounter()));
    KelString name = path;
    name.appendNarrow(suffix);
    return name;
}

std::string replaceFile(std::u16string_view from, std::u16string_view to) {
    std::error_code failure;
    std::filesystem::rename(platform::nativePath(from), platform::nativePath(to), failure);
    return failure ? failure.message() : std::string();
}

void removeFile(std::u16string_view path) noexcept {
    try {
        std::error_code ignored;  // see the declaration
        std::filesystem::remove(platform::nativePath(path), ignored);
    } catch (const std::bad_alloc&) {
        // No memory for the name: the file stays.
    }
}

}  // namespace kel::detail
