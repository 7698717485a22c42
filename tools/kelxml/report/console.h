// Where bytes leave the program: standard output, standard error, and the line of a terminal that says how
// far the work is, which is taken back before anything else is written. Threads: all operations may run
// together; each call is one piece.
#pragma once

#include <string_view>

namespace kelxml {

// As they are. Throws ReaderGone, or Exception when the system cannot take them (a full disk).
void writeOutput(std::string_view bytes);

// Lines of UTF-8, in the encoding of the user's terminal.
void writeErrors(std::string_view lines) noexcept;

// Shows the line on standard error in place of the one before; empty: takes that one back. Nothing happens
// where standard error is no terminal, nor once standard output has written to the same terminal.
void showStatus(std::string_view line) noexcept;

}  // namespace kelxml
