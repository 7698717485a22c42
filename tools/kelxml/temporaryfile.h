// Files that hold something for a while, and results until they are whole. An interruption removes them, too.
// Threads: not for more than one.
#pragma once

#include <filesystem>

#include "tools/kelxml/platform/files.h"

namespace kelxml {

// A new, empty file that goes away with this object unless it took the place of another.
class TemporaryFile {
public:
    // In the folder of `target`, so that taking its place is one rename, with the permissions a new file
    // there gets. Throws std::system_error.
    [[nodiscard]] static TemporaryFile beside(const std::filesystem::path& target);
    // In the system's folder for temporary files, or in another, readable by this user alone. Throws
    // std::system_error.
    [[nodiscard]] static TemporaryFile inTemporaryFolder();
    [[nodiscard]] static TemporaryFile inFolder(const std::filesystem::path& folder);

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    // Puts the file, safely on disk, in the place of `target`, which keeps its permissions if it exists. All
    // or nothing: on std::system_error `target` is what it was.
    void takePlaceOf(const std::filesystem::path& target);

private:
    TemporaryFile(const std::filesystem::path& folder, Access access);

    std::filesystem::path path_;  // empty once the file is somebody else's
};

}  // namespace kelxml
