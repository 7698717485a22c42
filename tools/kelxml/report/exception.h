// The ways in which a verb ends early.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "tools/kelxml/report/diagnostic.h"

namespace kelxml {

enum ExitStatus : int {
    kDone = 0,
    kRejected = 1,  // a document was rejected, or its result could not be written
    kWrongUsage = 2,
};

// What() is the reason: one or more lines of UTF-8.
class Exception : public std::runtime_error {
public:
    Exception(ExitStatus status, const std::string& reason) : Exception(status, Diagnostic(reason)) {}
    Exception(ExitStatus status, Diagnostic diagnostic)
        : std::runtime_error(diagnostic.reason), status_(status), diagnostic_(std::move(diagnostic)) {}

    [[nodiscard]] ExitStatus status() const noexcept { return status_; }
    [[nodiscard]] const Diagnostic& diagnostic() const noexcept { return diagnostic_; }

private:
    ExitStatus status_;
    Diagnostic diagnostic_;
};

// Standard output takes no more: there is no sense in going on with other files.
class OutputException final : public Exception {
    using Exception::Exception;
};

// Everything has been reported; what is left is the exit status.
class Reported {
public:
    explicit Reported(ExitStatus status) : status_(status) {}

    [[nodiscard]] ExitStatus status() const noexcept { return status_; }

private:
    ExitStatus status_;
};

// The reader of our standard output has gone. Not a failure: `kelxml tree FILE | head` ends quietly.
class ReaderGone {};

// Of the exception being handled. ReaderGone and Reported are none and are thrown on.
[[nodiscard]] Exception currentException();

}  // namespace kelxml
