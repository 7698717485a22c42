#include "tools/kelxml/documents/document.h"

#include <utility>

#include "host/text.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

// The parser's bare reason, else its whole message.
template <class ErrorV2, class Error>
Diagnostic fromError(Error& error, const std::string& file) {
    Diagnostic diagnostic(Severity::Error, file, kelhost::toUtf8(error.getMessage()));
    diagnostic.code = error.getCode();
    auto* const details = kel::queryInterface<ErrorV2>(&error);
    if (details == nullptr) return diagnostic;
    KelString reason;
    details->getReason(reason);
    if (!reason.isEmpty()) diagnostic.reason = kelhost::toUtf8(reason);
    diagnostic.line = details->getLine();
    diagnostic.column = details->getColumn();
    return diagnostic;
}

// Parsers word it differently; the names stay in every language.
bool isAboutDoctype(const std::string& reason) {
    return reason.find("DOCTYPE") != std::string::npos || reason.find("DTD") != std::string::npos;
}

}  // namespace

Diagnostic diagnosticOf(IKelDOMXml& parser, const std::string& file) {
    return fromError<IKelDOMXmlErrorV2>(*parser.getError(), file);
}

Diagnostic diagnosticOf(IKelSAXXml& reader, const std::string& file) {
    return fromError<IKelSAXXmlErrorV2>(*reader.getError(), file);
}

Diagnostic diagnosticOf(IKelXmlError& error, const std::string& file) {
    KelString text;
    Diagnostic diagnostic(Severity::Error, file, kelhost::toUtf8(error.getReason(text)));
    if (diagnostic.reason.empty()) diagnostic.reason = kelhost::toUtf8(error.getMessage(text));
    diagnostic.code = error.getCode();
    diagnostic.line = error.getLine();
    diagnostic.column = error.getColumn();
    return diagnostic;
}

DocumentPtr loadDocument(const Session& session, Source& source, unsigned options) {
    DocumentPtr document = session.makeParser();
    if (document->loadStream(source, options)) return document;
    Diagnostic diagnostic = exceptionOf(static_cast<IKelDOMXml&>(*document), source).diagnostic();
    const bool isAllowed = (options & IKelDOMXmlV3::kAllowDoctype) != 0;
    if (!isAllowed && isAboutDoctype(diagnostic.reason))
        diagnostic.reason = tr("%1 --allow-dtd reads its internal subset.", diagnostic.reason);
    throw Exception(kRejected, std::move(diagnostic));
}

DocumentPtr loadDocument(const Session& session, Task& task, unsigned options) {
    Source source(task.file(), &task.progress());
    return loadDocument(session, source, options);
}

}  // namespace kelxml
