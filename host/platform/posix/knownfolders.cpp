// The XDG base directories, and user-dirs.dirs for the folders of a desktop. A value that is no absolute path
// is ignored.
#include "host/platform/knownfolders.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>

#include <pwd.h>
#include <unistd.h>

namespace kelhost::platform {

namespace {

struct BaseFolder {
    std::string_view name;
    const char* variable;
    const char* belowHome;  // null: nowhere without the variable
};
constexpr std::array kBaseFolders{
    BaseFolder{"config", "XDG_CONFIG_HOME", "/.config"},
    BaseFolder{"data", "XDG_DATA_HOME", "/.local/share"},
    BaseFolder{"state", "XDG_STATE_HOME", "/.local/state"},
    BaseFolder{"cache", "XDG_CACHE_HOME", "/.cache"},
    BaseFolder{"runtime", "XDG_RUNTIME_DIR", nullptr},
};

struct UserFolder {
    std::string_view name;
    std::string_view key;  // in user-dirs.dirs
};
constexpr std::array kUserFolders{
    UserFolder{"desktop", "XDG_DESKTOP_DIR"},    UserFolder{"documents", "XDG_DOCUMENTS_DIR"},
    UserFolder{"downloads", "XDG_DOWNLOAD_DIR"}, UserFolder{"music", "XDG_MUSIC_DIR"},
    UserFolder{"pictures", "XDG_PICTURES_DIR"},  UserFolder{"videos", "XDG_VIDEOS_DIR"},
};

// Empty unless it is absolute.
std::string tidied(std::string path) {
    if (!path.starts_with('/')) return {};
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return tidied(value != nullptr ? value : "");
}

std::string home() {
    if (std::string folder = variable("HOME"); !folder.empty()) return folder;
    std::array<char, 4096> texts{};
    passwd entry{};
    passwd* found = nullptr;
    (void)::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(),
                       &found);  // the result says whether it worked
    return found != nullptr && found->pw_dir != nullptr ? tidied(found->pw_dir) : std::string();
}

std::string below(const std::string& folder, std::string_view rest) {
    return folder.empty() ? folder : tidied((folder == "/" ? "" : folder) + std::string(rest));
}

std::string baseFolder(const BaseFolder& folder) {
    if (std::string value = variable(folder.variable); !value.empty()) return value;
    return folder.belowHome != nullptr ? below(home(), folder.belowHome) : std::string();
}

// The value of a line KEY="value", where the value may begin with $HOME.
std::string userFolderOf(std::string_view line, std::string_view key) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (!line.starts_with(key)) return {};
    line.remove_prefix(key.size());
    if (!line.starts_with("=\"")) return {};
    line.remove_prefix(2);
    line = line.substr(0, line.find('"'));
    constexpr std::string_view kHome = "$HOME";
    return line.starts_with(kHome) ? below(home(), line.substr(kHome.size())) : tidied(std::string(line));
}

// What the file does not name is the desktop's usual folder, or home.
std::string userFolder(const UserFolder& folder) {
    const std::string config = baseFolder(kBaseFolders[0]);
    std::ifstream file(config + "/user-dirs.dirs");
    std::string result;
    for (std::string line; std::getline(file, line);) {
        if (std::string value = userFolderOf(line, folder.key); !value.empty()) result = std::move(value);
    }
    if (!result.empty()) return result;
    return folder.name == "desktop" ? below(home(), "/Desktop") : home();
}

std::string temporaryFolder() {
    std::string folder = variable("TMPDIR");
    return folder.empty() ? "/tmp" : folder;
}

}  // namespace

std::string knownFolder(std::string_view name) {
    if (name == "temp") return temporaryFolder();
    if (name == "home") return home();
    const auto base = std::ranges::find(kBaseFolders, name, &BaseFolder::name);
    if (base != kBaseFolders.end()) return baseFolder(*base);
    const auto user = std::ranges::find(kUserFolders, name, &UserFolder::name);
    return user != kUserFolders.end() ? userFolder(*user) : std::string();
}

}  // namespace kelhost::platform
