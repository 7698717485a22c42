// What is reported on standard error: one line a finding, in the form that editors and compilers share,
// "FILE:LINE:COLUMN: error: reason", or one JSON object a line (docs/kelxml-json.md).
#pragma once

#include <string>
#include <utility>

namespace kelxml {

enum class Severity { Error, Warning, Note };

struct Diagnostic {
    Diagnostic() = default;
    explicit Diagnostic(std::string what) : reason(std::move(what)) {}
    Diagnostic(Severity how, std::string where, std::string what)
        : severity(how), file(std::move(where)), reason(std::move(what)) {}

    Severity severity = Severity::Error;
    std::string file;    // as named on the command line; empty: the program itself
    int line = 0;        // from 1; 0: no particular one
    int column = 0;      // in characters, from 1; 0: not known
    int code = 0;        // the component's; 0: none
    std::string path;    // the element as an expression; empty: not known
    std::string reason;  // UTF-8; further lines explain the first
};

enum class DiagnosticForm { Text, Json };

// For the whole program, before anything is reported.
void chooseDiagnosticForm(DiagnosticForm form) noexcept;
void reportErrorsOnly() noexcept;  // --quiet

// Of --quiet: whether it is suppressed.
[[nodiscard]] bool isSuppressed(Severity severity) noexcept;

// With its line feed, in the form chosen.
[[nodiscard]] std::string formatted(const Diagnostic& diagnostic);

// Writes it to standard error, unless it is suppressed. Threads: any.
void report(const Diagnostic& diagnostic);

}  // namespace kelxml
