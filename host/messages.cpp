// The environment says which languages are wanted; each is looked for from its most particular name to its
// most general.
#include "host/messages.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "host/detail/catalogue.h"
#include "host/detail/languagevariables.h"
#include "host/platform/userlanguages.h"

namespace kelhost {

namespace fs = std::filesystem;

namespace {

constexpr int kFoldersUp = 3;

// A language becomes part of a path, so nothing but a name's own characters gets through.
bool isLanguageName(std::string_view name) {
    const auto belongs = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
               c == '@';
    };
    return !name.empty() && std::ranges::all_of(name, belongs);
}

void addOnce(std::vector<std::string>& languages, std::string_view name) {
    if (isLanguageName(name) && std::ranges::find(languages, name) == languages.end())
        languages.emplace_back(name);
}

// "de_AT.UTF-8@euro" without its encoding.
std::string withoutEncoding(std::string_view name) {
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos) return std::string(name);
    const std::size_t modifier = name.find('@', dot);
    std::string result(name.substr(0, dot));
    if (modifier != std::string_view::npos) result += name.substr(modifier);
    return result;
}

// From the whole name to the bare language: de_AT@euro, de_AT, de.
void addWithItsGeneralForms(std::vector<std::string>& languages, std::string_view name) {
    addOnce(languages, name);
    name = name.substr(0, name.find('@'));
    addOnce(languages, name);
    addOnce(languages, name.substr(0, name.find('_')));
}

bool isLanguageOfTheKeys(std::string_view name) {
    const std::string_view language = name.substr(0, name.find_first_of("_@"));
    return language == "en" || language == "C" || language == "POSIX";
}

}  // namespace

std::vector<std::string> languagesOf(std::string_view list) {
    std::vector<std::string> languages;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(':'), list.size());
        std::string name = withoutEncoding(list.substr(0, end));
        std::ranges::replace(name, '-', '_');
        list.remove_prefix(std::min(end + 1, list.size()));
        if (isLanguageOfTheKeys(name)) break;
        addWithItsGeneralForms(languages, name);
    }
    return languages;
}

std::vector<std::string> userLanguages() {
    return languagesOf(platform::userLanguageList());
}

std::vector<fs::path> catalogueFoldersNear(const fs::path& file) {
    std::vector<fs::path> folders;
    std::error_code unknown;
    const fs::path whole = fs::weakly_canonical(file, unknown);
    fs::path folder = (unknown ? file : whole).parent_path();
    for (int level = 0; level < kFoldersUp; ++level, folder = folder.parent_path()) {
        fs::path candidate = folder / "share" / "locale";
        if (fs::is_directory(candidate, unknown)) folders.push_back(std::move(candidate));
    }
    return folders;
}

std::string fillIn(std::string_view text, std::span<const std::string_view> arguments) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t index =
            at + 1 < text.size() ? static_cast<std::size_t>(text[at + 1] - '1') : arguments.size();
        if (text[at] == '%' && index < std::min<std::size_t>(arguments.size(), 9)) {
            result += arguments[index];
            ++at;
        } else {
            result += text[at];
        }
    }
    return result;
}

Messages::Messages(std::string_view domain, std::span<const fs::path> folders,
                   std::span<const std::string> languages) {
    for (const std::string& language : languages) {
        for (const fs::path& folder : folders) {
            const fs::path file = folder / language / "LC_MESSAGES" / (std::string(domain) + ".mo");
            std::error_code unknown;
            if (!fs::exists(file, unknown)) continue;
            try {
                catalogues_.push_back(std::make_shared<const Catalogue>(Catalogue::read(file)));
                break;
            } catch (const std::runtime_error& error) {
                problems_.emplace_back(error.what());
            }
        }
    }
}

std::string_view Messages::text(std::string_view english) const {
    if (english.empty()) return english;  // a catalogue has its header there
    for (const auto& catalogue : catalogues_) {
        const std::string_view found = catalogue->find(english);
        if (!found.empty()) return found;
    }
    return english;
}

std::string_view Messages::text(std::string_view one, std::string_view several, std::uint64_t count) const {
    for (const auto& catalogue : catalogues_) {
        const std::string_view found = catalogue->find(one, count);
        if (!found.empty()) return found;
    }
    return count == 1 ? one : several;
}

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

// The C locale asks for untranslated messages, whatever LANGUAGE says: programs that read other
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
