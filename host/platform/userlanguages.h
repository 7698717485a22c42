// The languages that the user of this process wants to read.
// Threads: any, while no thread changes the environment.
#pragma once

#include <string>

namespace kelhost::platform {

// Separated by colons, the first choice first, as languagesOf takes them; empty or "C": the user has not
// chosen, or wants untranslated texts.
[[nodiscard]] std::string userLanguageList();

}  // namespace kelhost::platform
