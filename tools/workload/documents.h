// The documents of the workload: of the kinds that applications have, none of them one that is measured.
#pragma once

#include <string>

namespace workload {

// Each about `sizeInBytes` of UTF-8.
[[nodiscard]] std::string registry(std::size_t sizeInBytes);   // names in attributes, many of them, nested
[[nodiscard]] std::string book(std::size_t sizeInBytes);       // paragraphs with markup, references, comments
[[nodiscard]] std::string warehouse(std::size_t sizeInBytes);  // several namespaces, declared again and again
[[nodiscard]] std::string table(std::size_t sizeInBytes);      // records of short texts

// A configuration as programs read one when they start, and the answer of a service.
[[nodiscard]] std::string configuration();
[[nodiscard]] std::string response();

// For `table`: a schema, and a style sheet that sorts, counts and writes elements.
[[nodiscard]] std::string tableSchema();
[[nodiscard]] std::string tableReport();

}  // namespace workload
