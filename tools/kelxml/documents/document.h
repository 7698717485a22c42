// Documents that are loaded as trees, and how what the parsers report becomes a diagnostic.
#pragma once

#include <string>

#include "tools/kelxml/documents/session.h"
#include "tools/kelxml/files/batch.h"
#include "tools/kelxml/files/source.h"
#include "tools/kelxml/report/exception.h"

namespace kelxml {

using DocumentPtr = IPtr<IKelDOMXmlV3>;
using ElementPtr = IPtr<IKelDOMXmlElement>;

// Of a load.
[[nodiscard]] constexpr unsigned loadOptions(bool allowDtd, unsigned others = 0) noexcept {
    return allowDtd ? others | unsigned{IKelDOMXmlV3::kAllowDoctype} : others;
}

// Loads what the source has, with options of IKelDOMXmlV3. Throws Exception: the system's reason or the
// parser's, with line and column.
[[nodiscard]] DocumentPtr loadDocument(const Session& session, Source& source, unsigned options);

// The task's file.
[[nodiscard]] DocumentPtr loadDocument(const Session& session, Task& task, unsigned options);

// What the last operation of a parser, a schema or a style sheet reported, about `file`.
[[nodiscard]] Diagnostic diagnosticOf(IKelDOMXml& parser, const std::string& file);
[[nodiscard]] Diagnostic diagnosticOf(IKelSAXXml& reader, const std::string& file);
[[nodiscard]] Diagnostic diagnosticOf(IKelXmlError& error, const std::string& file);

// The same of an operation that read from `source`, whose own failure goes first.
template <class Reporter>
[[nodiscard]] Exception exceptionOf(Reporter& reporter, const Source& source) {
    if (!source.failure().empty()) return source.readException();
    return {kRejected, diagnosticOf(reporter, source.name())};
}

}  // namespace kelxml
