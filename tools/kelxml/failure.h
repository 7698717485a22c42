// The ways in which a verb ends early.
#pragma once

#include <stdexcept>
#include <string>

namespace kelxml {

enum ExitStatus : int {
    kDone = 0,
    kRefused = 1,  // the document was refused, or its result could not be written
    kWrongUsage = 2,
};

// What() is one or more lines of UTF-8 for standard error.
class Failure : public std::runtime_error {
public:
    Failure(ExitStatus status, const std::string& message) : std::runtime_error(message), status_(status) {}

    [[nodiscard]] ExitStatus status() const noexcept { return status_; }

private:
    ExitStatus status_;
};

// Whoever read our standard output has seen enough. Not a failure: `kelxml tree FILE | head` ends quietly.
class ReaderGone {};

}  // namespace kelxml
