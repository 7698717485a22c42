#include "tools/kelxml/report/diagnostic.h"

#include "tools/kelxml/report/console.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/output.h"
#include "tools/kelxml/report/outputtext.h"

namespace kelxml {

namespace {

DiagnosticForm chosenForm = DiagnosticForm::Text;
bool areErrorsOnly = false;

std::string severityText(Severity severity, const std::string& reason) {
    switch (severity) {
        case Severity::Error:
            return tr("error: %1", reason);
        case Severity::Warning:
            return tr("warning: %1", reason);
        case Severity::Note:
            break;
    }
    return reason;
}

const char* severityName(Severity severity) {
    switch (severity) {
        case Severity::Error:
            return "error";
        case Severity::Warning:
            return "warning";
        case Severity::Note:
            break;
    }
    return "note";
}

std::string asText(const Diagnostic& diagnostic) {
    std::string text = diagnostic.file.empty() ? "kelxml" : diagnostic.file;
    if (diagnostic.line > 0) {
        text += ':' + std::to_string(diagnostic.line);
        if (diagnostic.column > 0) text += ':' + std::to_string(diagnostic.column);
    }
    return text + ": " + severityText(diagnostic.severity, printable(diagnostic.reason)) + '\n';
}

std::string asJson(const Diagnostic& diagnostic) {
    std::string json = std::string("{\"severity\":\"") + severityName(diagnostic.severity) + '"';
    const auto add = [&json](const char* name, const std::string& value) {
        json += std::string(",\"") + name + "\":" + value;
    };
    if (!diagnostic.file.empty()) add("file", jsonString(diagnostic.file));
    if (diagnostic.line > 0) add("line", std::to_string(diagnostic.line));
    if (diagnostic.line > 0 && diagnostic.column > 0) add("column", std::to_string(diagnostic.column));
    if (diagnostic.code != 0) add("code", std::to_string(diagnostic.code));
    if (!diagnostic.path.empty()) add("path", jsonString(diagnostic.path));
    add("reason", jsonString(diagnostic.reason));
    return json + "}\n";
}

}  // namespace

void chooseDiagnosticForm(DiagnosticForm form) noexcept {
    chosenForm = form;
}

void reportErrorsOnly() noexcept {
    areErrorsOnly = true;
}

bool isSuppressed(Severity severity) noexcept {
    return areErrorsOnly && severity != Severity::Error;
}

std::string formatted(const Diagnostic& diagnostic) {
    return chosenForm == DiagnosticForm::Json ? asJson(diagnostic) : asText(diagnostic);
}

void report(const Diagnostic& diagnostic) {
    if (!isSuppressed(diagnostic.severity)) writeErrors(formatted(diagnostic));
}

}  // namespace kelxml
