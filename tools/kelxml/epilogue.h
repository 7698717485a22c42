// What comes after the root element of a document, where the stream of events no longer looks.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace kelxml {

// The line, from 1, of the first thing after the root element that has no business there; nothing if all is
// well. The document up to the end of its root element must be known to be well formed. Constant memory.
// Nothing, too, for what cannot be read twice (a device), and for the rare encodings in which the bytes of
// markup need not mean markup (UTF-32, EBCDIC, those that shift).
[[nodiscard]] std::optional<std::uint64_t> lineOfJunkAfterRoot(const std::filesystem::path& file);

}  // namespace kelxml
