// Reads the text of a settings file, see host/settings.h.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kelhost {

using SettingValues = std::map<std::string, std::string, std::less<>>;

// Throws SettingsError, in which the text is called `name`.
[[nodiscard]] SettingValues parseSettings(std::string_view content, const std::string& name);

[[nodiscard]] std::optional<bool> truthValueOf(std::string_view text);
[[nodiscard]] std::optional<double> numberOf(std::string_view text);

}  // namespace kelhost
