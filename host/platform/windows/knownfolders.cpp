// The system's known folders. What POSIX desktops keep apart as data that roams, state and caches lies in two
// folders here: the roaming and the local application data.
#include "host/platform/knownfolders.h"

#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <array>
#include <memory>

#include "host/platform/windows/wide.h"

namespace kelhost::platform {

namespace {

struct Folder {
    std::string_view name;
    const KNOWNFOLDERID& id;
};

constexpr std::array kFolders{
    Folder{"home", FOLDERID_Profile},        Folder{"config", FOLDERID_RoamingAppData},
    Folder{"data", FOLDERID_RoamingAppData}, Folder{"state", FOLDERID_LocalAppData},
    Folder{"cache", FOLDERID_LocalAppData},  Folder{"desktop", FOLDERID_Desktop},
    Folder{"documents", FOLDERID_Documents}, Folder{"downloads", FOLDERID_Downloads},
    Folder{"music", FOLDERID_Music},         Folder{"pictures", FOLDERID_Pictures},
    Folder{"videos", FOLDERID_Videos},
};

struct TaskMemory {
    void operator()(wchar_t* text) const noexcept { CoTaskMemFree(text); }
};

std::string tidied(std::wstring_view path) {
    while (path.size() > 3 && path.back() == L'\\') path.remove_suffix(1);
    return utf8FromWide(path);
}

std::string temporaryFolder() {
    wchar_t path[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, path);
    return length > 0 && length <= MAX_PATH ? tidied({path, length}) : std::string();
}

}  // namespace

std::string knownFolder(std::string_view name) {
    if (name == "temp") return temporaryFolder();
    const auto folder = std::ranges::find(kFolders, name, &Folder::name);
    if (folder == kFolders.end()) return {};
    wchar_t* found = nullptr;
    const HRESULT status = SHGetKnownFolderPath(folder->id, KF_FLAG_DONT_VERIFY, nullptr, &found);
    const std::unique_ptr<wchar_t, TaskMemory> path(found);  // ours to give back on failure, too
    return SUCCEEDED(status) ? tidied(path.get()) : std::string();
}

}  // namespace kelhost::platform
