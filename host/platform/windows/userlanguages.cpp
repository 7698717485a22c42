#include "host/platform/userlanguages.h"

#include <windows.h>

#include <vector>

#include "host/detail/languagevariables.h"
#include "host/platform/windows/wide.h"

namespace kelhost::platform {

namespace {

// Those of the user interface.
std::string interfaceLanguages() {
    ULONG count = 0;
    ULONG length = 0;
    if (GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, nullptr, &length) == 0 || length == 0)
        return {};
    std::wstring names(length, L'\0');  // each ends with a NUL, and all of them with another
    if (GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, names.data(), &length) == 0) return {};
    std::string list;
    for (const wchar_t* name = names.c_str(); *name != L'\0'; name += std::wstring_view(name).size() + 1) {
        if (!list.empty()) list += ':';
        list += utf8FromWide(name);
    }
    return list;
}

}  // namespace

// Variables first, as gettext has it on this system: they are what a user sets for one program.
std::string userLanguageList() {
    if (auto list = languageVariables()) return *std::move(list);
    return interfaceLanguages();
}

}  // namespace kelhost::platform
