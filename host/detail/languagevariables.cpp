#include "host/detail/languagevariables.h"

#include <cstdlib>
#include <initializer_list>
#include <string_view>

namespace kelhost {

namespace {

std::string_view variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string_view localeOfMessages() {
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const std::string_view value = variable(name); !value.empty()) return value;
    }
    return {};
}

// Whoever has set the C locale wants untranslated messages, whatever LANGUAGE says: programs that read other
// programs' output rely on it.
bool isUntranslated(std::string_view locale) {
    return locale == "C" || locale == "POSIX";
}

}  // namespace

std::optional<std::string> languageVariables() {
    const std::string_view locale = localeOfMessages();
    if (locale.empty()) return std::nullopt;
    if (isUntranslated(locale)) return "";
    const std::string_view languages = variable("LANGUAGE");
    // C.UTF-8 is a locale without a language of its own, so LANGUAGE decides.
    return std::string(languages.empty() ? locale : languages);
}

}  // namespace kelhost
