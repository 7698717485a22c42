// What kelxml asks of the operating system: temporary files, terminals, its language, and where the program
// itself stands.
// Threads: none of this is for more than one thread.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

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
    TemporaryFile(const std::filesystem::path& folder, unsigned int mode);

    std::filesystem::path path_;  // empty once the file is somebody else's
};

[[nodiscard]] bool isTerminal(std::FILE* stream) noexcept;
[[nodiscard]] bool isDumbTerminal() noexcept;  // one that says that it knows no control sequences

// From here on the system words its own messages in the user's language, if it knows it.
void speakUsersLanguage() noexcept;

// From here on, writing to a pipe that nobody reads is an error of the write and does not end the program.
void ignoreClosedPipes() noexcept;

// The folder that holds the running program; empty if the system does not tell.
[[nodiscard]] std::filesystem::path programFolder();

}  // namespace kelxml
