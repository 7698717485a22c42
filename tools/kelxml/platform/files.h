// What kelxml asks of the operating system: making and replacing files, terminals, its language, and where
// the program itself stands. Threads: none of this is for more than one thread.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace kelxml {

// Makes a new, empty file. False: there is something of that name. Throws std::system_error with the folder.
enum class Access { Private, Usual };  // for this user alone; what a new file there gets
[[nodiscard]] bool createFile(const std::filesystem::path& path, Access access);
void removeFile(const std::filesystem::path& path) noexcept;  // nothing can be done about one that stays

// Two steps, the first of which may take long: puts `file` on disk, with the permissions of `target` if that
// exists; then puts it in the place of `target`. Each throws std::system_error and then has changed nothing
// of `target`.
void settleFile(const std::filesystem::path& file, const std::filesystem::path& target);
void replaceFile(const std::filesystem::path& target, const std::filesystem::path& file);

[[nodiscard]] bool isTerminal(std::FILE* stream) noexcept;
[[nodiscard]] bool isDumbTerminal() noexcept;  // one that says that it knows no control sequences

// From here on the system words its own messages in the user's language, if it knows it.
void speakUsersLanguage() noexcept;

// From here on, writing to a pipe that nobody reads is an error of the write and does not end the program.
void ignoreClosedPipes() noexcept;

// The folder that holds the running program; empty if the system does not tell.
[[nodiscard]] std::filesystem::path programFolder();

}  // namespace kelxml
