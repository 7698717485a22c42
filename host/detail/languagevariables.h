// The user's languages as the environment has them, weighed as gettext does.
// Threads: any, while no thread changes the environment.
#pragma once

#include <optional>
#include <string>

namespace kelhost {

// Separated by colons, the first choice first. Empty or "C": untranslated texts are wanted. Nothing: no
// variable says anything.
[[nodiscard]] std::optional<std::string> languageVariables();

}  // namespace kelhost
