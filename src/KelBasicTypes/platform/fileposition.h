// 64-bit positions in files, and bringing a file to the disk.
#pragma once

#include <cstdint>
#include <cstdio>

namespace kel::platform {

enum class Origin { Start, Here, End };

[[nodiscard]] bool seekFile(std::FILE& file, std::int64_t offset, Origin origin) noexcept;
[[nodiscard]] std::int64_t tellFile(std::FILE& file) noexcept;  // negative: the file has no position

// Waits until what was flushed is on the disk. True also for files that lie on none.
[[nodiscard]] bool commitFile(std::FILE& file) noexcept;

}  // namespace kel::platform
