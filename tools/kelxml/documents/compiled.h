// Schemas and style sheets, compiled once for many documents. Threads: the one that makes it.
#pragma once

#include <optional>
#include <string>

#include "tools/kelxml/documents/session.h"
#include "tools/kelxml/report/exception.h"

namespace kelxml {

// Without a namespace: the one that the schema says it is for. Throws Exception; or Reported, after
// everything that is wrong with the schema.
[[nodiscard]] IPtr<IKelXmlSchema> compileSchema(const Session& session, const InputFile& file,
                                                const std::optional<std::string>& namespaceUri);

// `messages` gets what the style sheet says and what was passed over; borrowed as long as the style sheet is
// used. Throws as above.
[[nodiscard]] IPtr<IKelXslStyleSheet> compileStyleSheet(const Session& session, const InputFile& file,
                                                        IKelXslMessageHandler& messages);

// Takes a line of the engine apart that says where something is: "FILE, line N: what". Any other line is the
// reason of a diagnostic about `file`.
[[nodiscard]] Diagnostic diagnosticOfCause(Severity severity, const std::string& cause,
                                           const InputFile& file);

}  // namespace kelxml
