// Files by framework path, as a whole. Threads: any.
#pragma once

#include <string>
#include <string_view>

#include "KelBasicTypes/kelstring.h"

namespace kel::detail {

// A name beside `path`, for a file that is to take its place in one step when it is finished. Nothing is
// created.
[[nodiscard]] KelString unfinishedPath(const KelString& path);

// `from` takes the place of `to`, in one step where both are on one file system. Returns what the system says
// on a failure, which changes nothing; empty when done.
[[nodiscard]] std::string replaceFile(std::u16string_view from, std::u16string_view to);

void removeFile(std::u16string_view path) noexcept;  // one that is not there, or cannot be removed, stays

}  // namespace kel::detail
