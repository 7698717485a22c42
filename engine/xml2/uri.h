// Local files as libxml2 names them: "file:" URIs with an absolute, percent-escaped path. Text is UTF-8.
// Threads: pure functions, but for the working directory that some read.
#pragma once

#include <string>
#include <string_view>

namespace engine::xml2 {

// The URI of a path, which is taken relative to the working directory; one with a scheme is returned as it
// is. Backslashes count as separators.
[[nodiscard]] std::string fileUri(std::string_view path);
// The base of a document that has no file: the working directory, with its closing slash.
[[nodiscard]] std::string workingDirectoryUri();
// The path of a local file; empty for any other scheme or host.
[[nodiscard]] std::string localPath(std::string_view uri);
// `reference` seen from `base`; empty if either is no URI reference.
[[nodiscard]] std::string resolved(const std::string& reference, const std::string& base);
// For messages: the path if it is a local file, the working directory as "", else the URI.
[[nodiscard]] std::string displayName(std::string_view uri);

}  // namespace engine::xml2
