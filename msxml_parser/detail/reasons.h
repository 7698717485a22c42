// The engine's reasons in the words of the current translator. Our engine words them in English, from texts
// with placeholders that this library knows: a reason is matched with them, and the text that fits is looked
// up and filled in again. What fits none of them stays as it is: the words of the libraries inside, a
// platform's own. Threads: as the current translator.
#pragma once

#include <span>
#include <string_view>

#include "KelBasicTypes/kelstring.h"

namespace msxml {

// The texts, with %1 to %9, each with a NUL after it; collected from the engine's sources while the library
// is built.
[[nodiscard]] std::span<const std::string_view> reasonTemplates() noexcept;

// Line by line. Where a line begins with a location, "FILE, line N: " or "line N: ", that is kept for
// programs.
[[nodiscard]] KelString translatedReason(std::u16string_view reason);

// A reason as a message for people shows it: the locations translated, too.
[[nodiscard]] KelString translatedLocations(const KelString& reason);

}  // namespace msxml
