// Framework paths, 16-bit text in which both separators are recognised, as the standard library takes them.
// Threads: no shared state.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kel::platform {

// Empty, which names no file, for an empty path and for one with a NUL in it.
[[nodiscard]] std::filesystem::path nativePath(std::u16string_view path);

// Back, with the separators as they are. A name that is no text gives a different name: see utf8.h.
[[nodiscard]] std::u16string unitsOf(const std::filesystem::path& path);

}  // namespace kel::platform
