// Ending in the middle of work: a person pressed Ctrl-C, the terminal went away, the system shuts down.
// Threads: any may register files; the interruption may come to any.
#pragma once

#include <filesystem>

namespace kelxml {

// From here on, an interruption first removes the files registered below, then ends the program as it would
// have otherwise.
void removeTemporaryFilesWhenInterrupted() noexcept;

// Holds interruptions back as long as it lives, so that a file and its registration come and go together.
class UninterruptedWork {
public:
    UninterruptedWork() noexcept;
    UninterruptedWork(const UninterruptedWork&) = delete;
    UninterruptedWork& operator=(const UninterruptedWork&) = delete;
    ~UninterruptedWork();
};

// Called while UninterruptedWork lives. Of more files than a command line ever has at once, further ones are
// not registered.
void registerTemporaryFile(const std::filesystem::path& path) noexcept;
void forgetTemporaryFile(const std::filesystem::path& path) noexcept;

}  // namespace kelxml
