// Standard output: buffered, in colour where a person looks at it, and aware that its reader may leave.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kelxml {

enum class Ink { Plain, Name, Attribute, Text, Dim };

class Output {
public:
    Output();  // colour on a terminal, unless NO_COLOR is set to anything
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // Both throw ReaderGone, or Failure when the system cannot take the bytes (a full disk).
    void write(std::string_view utf8, Ink ink = Ink::Plain);
    void finish();  // everything written has arrived; without it, what is still buffered is dropped

    // The bytes of a file, as they are. Throws like write(), and Failure if the file cannot be read.
    void copyFile(const std::filesystem::path& path);

private:
    void put(std::string_view bytes);
    void drain();

    bool coloured_;
    std::string buffer_;
};

// Text from a document, fit for one line of a terminal: runs of white space become one blank, control
// characters become '?', so that a document cannot speak to the terminal, and what exceeds `limit` characters
// becomes "...".
[[nodiscard]] std::string oneLine(std::string_view utf8, std::size_t limit);

}  // namespace kelxml
