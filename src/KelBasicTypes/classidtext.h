// The text form of class identifiers: {88BC5A8E-CC38-4C51-B3F1-90800566E0DF}. Threads: no shared state.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "framework/object/kelclassid.h"

namespace kel {

// Whether a text form stands in braces.
enum class ClassIdBraces { With, Without };

// 38 characters, or 36 without braces; digits above 9 as capitals.
[[nodiscard]] std::string classIdText(const KelClassId& id, ClassIdBraces braces = ClassIdBraces::With);

// From exactly that form, with both braces or none, digits in either case. Anything else, white space around
// it included, gives no identifier.
[[nodiscard]] std::optional<KelClassId> classIdOf(std::string_view text) noexcept;

}  // namespace kel
