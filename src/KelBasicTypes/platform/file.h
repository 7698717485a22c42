// Files by framework path: 16-bit text in which both separators, backslash and slash, are recognised.
// Threads: any, one thread at a time for each file.
#pragma once

#include <cstdio>
#include <memory>
#include <string_view>

namespace kel::platform {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }  // see closeFile
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// Opens with a mode as fopen takes it; files are not inherited by child processes. Null when the system
// rejects, and for an empty path, a path with a NUL in it and a directory.
[[nodiscard]] FileHandle openFile(std::u16string_view path, const char* mode);

// Closes now. False when the system could not take what was still to be written; the file is closed all the
// same.
[[nodiscard]] bool closeFile(FileHandle file) noexcept;

// Whether the path can be opened for reading now; it is opened and closed at once, nothing is read.
[[nodiscard]] bool canOpenForReading(std::u16string_view path);

}  // namespace kel::platform
