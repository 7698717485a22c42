// Files that hold something for a while, and results until they are whole. They have no names where the
// system can do that, so that nothing is left however the program ends; else an interruption removes them.
// Threads: each file belongs to one.
#pragma once

#include <filesystem>
#include <optional>

#include "tools/kelxml/platform/files.h"

namespace kelxml {

// A new, empty file that goes away with this object unless it replaced another.
class TemporaryFile {
public:
    // In the folder of `target`, so that replacing it is one rename, with the permissions a new file
    // there gets. Throws std::system_error.
    [[nodiscard]] static TemporaryFile beside(const std::filesystem::path& target);
    // In the system's folder for temporary files, readable by this user alone. Throws std::system_error.
    [[nodiscard]] static TemporaryFile inTemporaryFolder();
    // The same with a name in a folder, for what names other files relative to itself.
    [[nodiscard]] static TemporaryFile namedIn(const std::filesystem::path& folder);

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    // Under which this process can open it.
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    // Replaces `target` by the file, safely on disk; it keeps its permissions if it exists, and
    // its owner as far as the system allows. All or nothing: on std::system_error `target` is what it was.
    void replace(const std::filesystem::path& target);

private:
    enum class Name { IfNeeded, Always };
    TemporaryFile(const std::filesystem::path& folder, Access access, Name name);
    void createNamed(const std::filesystem::path& folder, Access access);
    void giveNameIn(const std::filesystem::path& folder);

    std::optional<UnnamedFile> unnamed_;
    std::filesystem::path path_;  // empty once the file has replaced another
};

}  // namespace kelxml
