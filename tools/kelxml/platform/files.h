// What kelxml asks of the operating system: reading, making and replacing files, terminals, its language, and
// where the program itself stands. Threads: what makes and replaces files may run together; the language and
// pipes are set by one thread at the start.
#pragma once

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

namespace kelxml {

// As fopen, in binary: null, with errno set, if it cannot be opened. The caller closes it.
[[nodiscard]] std::FILE* openAs(const std::filesystem::path& path, const char* mode) noexcept;

// Whether the component, whose paths are Unicode and have backslashes as separators, can be given this name.
[[nodiscard]] bool isNameForComponent(const std::string& name);

// The text with the line ends that text files have here.
[[nodiscard]] std::string withPlatformLineEnds(std::string text);

// Makes a new, empty file. False: there is something of that name. Throws std::system_error with the folder.
enum class Access { Private, Usual };  // for this user alone; what a new file there gets
[[nodiscard]] bool createFile(const std::filesystem::path& path, Access access);
void removeFile(const std::filesystem::path& path) noexcept;  // nothing can be done about one that stays

// A file without a name, which is gone with its last handle, however the program ends.
class UnnamedFile {
public:
    // In a folder; nothing where the system or the file system has no such files.
    [[nodiscard]] static std::optional<UnnamedFile> in(const std::filesystem::path& folder, Access access);

    UnnamedFile(UnnamedFile&& other) noexcept;
    UnnamedFile& operator=(UnnamedFile&&) = delete;
    ~UnnamedFile();

    // Under which this process can open it, as long as this object lives.
    [[nodiscard]] std::filesystem::path path() const;
    // False: there is something of that name. Throws std::system_error.
    [[nodiscard]] bool giveName(const std::filesystem::path& path) const;

private:
    explicit UnnamedFile(int handle) noexcept : handle_(handle) {}
    int handle_;
};

// Two steps, the first of which may take long: puts `file` on disk, with the permissions of `target` if that
// exists and with its owner as far as the system allows; then puts it in the place of `target`. Each throws
// std::system_error and then has changed nothing of `target`.
void settleFile(const std::filesystem::path& file, const std::filesystem::path& target);
void replaceFile(const std::filesystem::path& target, const std::filesystem::path& file);

[[nodiscard]] bool isTerminal(std::FILE* stream) noexcept;
[[nodiscard]] bool isDumbTerminal() noexcept;  // one that says that it knows no control sequences

// From here on the system words its own messages in the user's language, if it knows it.
void speakUsersLanguage();

// From here on, writing to a pipe without a reader is an error of the write and does not end the program.
void ignoreClosedPipes() noexcept;

// The folder that holds the running program; empty if the system does not report it.
[[nodiscard]] std::filesystem::path programFolder();

}  // namespace kelxml
