// Completes message templates: puts argument texts in place of numbered placeholders.
// Both forms have irregularities that translators rely on; they stay. Threads: no shared state.
#pragma once

#include <cstdint>
#include <span>

class KelString;

namespace kel {

// %1 to %9, and %: for the tenth. An argument that is null or that the span does not have is an empty text.
// All other pairs that begin with % stay, "%%" included. Up to ten placeholders are replaced, later ones
// stay. A number must not occur twice: every occurrence of it would be put where the last one stands.
void substitute(KelString& text, std::span<const KelString* const> arguments);

// %1 to %99, one argument after the other, each at the first position that matches in the text as it then is,
// texts of earlier arguments included. From 10 on only the tens digit is looked at: %1 and any further unit
// matches 10 to 19. An argument without a placeholder replaces the text's last unit. A count of 0 or less
// changes nothing.
void substitute(KelString& text, std::int32_t count, const KelString* arguments);

}  // namespace kel
