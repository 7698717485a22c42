// Standard output: buffered, in colour where a person looks at it, and aware that its reader may leave.
#pragma once

#include <string>
#include <string_view>

namespace kelxml {

enum class Ink { Plain, Name, Attribute, Text, Dim, Alarm };

// The value of --color, for the whole program.
enum class ColourChoice { OnTerminals, Always, Never };
void chooseColour(ColourChoice choice) noexcept;

// Where the bytes of an Output go.
class ByteTaker {
public:
    virtual void take(std::string_view bytes) = 0;  // throws ReaderGone or Exception

protected:
    ~ByteTaker() = default;
};

class Output {
public:
    // By default in colour on a terminal that knows any, unless NO_COLOR is set. The taker is borrowed; null:
    // standard output itself.
    explicit Output(ByteTaker* taker = nullptr);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // All throw ReaderGone, or Exception when the system cannot take the bytes (a full disk). Text is written
    // in the encoding of the terminal, if it goes to one; bytes are written as they are.
    void write(std::string_view utf8, Ink ink = Ink::Plain);
    void writeBytes(std::string_view bytes);
    void finish();  // everything written has arrived; without it, what is still buffered is dropped

    // Of the results of several documents, what comes from this one.
    void writeHeading(std::string_view file);

private:
    void put(std::string_view bytes);
    void drain();

    ByteTaker* taker_;
    bool coloured_;
    std::string buffer_;
};

// The text to standard output, whole. Throws like Output.
void writeText(std::string_view utf8);

// Text from a document, fit for one line of a terminal: runs of white space become one space, control
// characters become '?', so that a document cannot speak to the terminal, and what exceeds `limit` characters
// becomes "...".
[[nodiscard]] std::string oneLine(std::string_view utf8, std::size_t limit);

// The same with its line ends, tabs and length, for messages.
[[nodiscard]] std::string printable(std::string_view utf8);

}  // namespace kelxml
