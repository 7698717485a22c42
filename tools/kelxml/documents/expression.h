// Expressions over a document, with prefixes from the command line and from the document itself.
// Threads: the document's.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/kelxml/documents/document.h"

namespace kelxml {

// What prefixes stand for, by prefix.
using Prefixes = std::map<std::string, std::string>;

// Each is "PREFIX=URI". Throws Exception (wrong usage) for anything else.
[[nodiscard]] Prefixes parsePrefixes(const std::vector<std::string>& given);

// Makes the document know the prefixes that its root element declares, its default namespace as "_", and
// those given, which go first. Returns all of them.
Prefixes declarePrefixes(IKelDOMXmlV3& document, const Prefixes& given);

// The failure of the document's last expression.
[[nodiscard]] Exception expressionException(IKelDOMXmlV3& document, const std::string& expression);

// The elements that it selects, in document order. Throws Exception for an expression that selects anything
// else.
[[nodiscard]] std::vector<IPtr<IKelDOMXmlElementV2>> selectElements(IKelDOMXmlV3& document,
                                                                    const std::string& expression);

}  // namespace kelxml
