#include "KelBasicTypes/platform/file.h"

#include <windows.h>

#include <string>

#include "KelBasicTypes/platform/windows/handle.h"
#include "KelBasicTypes/platform/windows/wide.h"

namespace kel::platform {

FileHandle openFile(std::u16string_view path, const char* mode) {
    const WidePath native(path);
    if (!native.isPath()) return nullptr;
    std::wstring wideMode;
    for (; *mode != '\0'; ++mode) wideMode += static_cast<wchar_t>(*mode);  // letters and '+'
    wideMode += L'N';                                                       // not inherited
    return FileHandle(_wfopen(native.get(), wideMode.c_str()));
}

bool closeFile(FileHandle file) noexcept {
    return file != nullptr && std::fclose(file.release()) == 0;
}

bool canOpenForReading(std::u16string_view path) {
    const WidePath native(path);
    if (!native.isPath()) return false;
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(native.get(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;  // a directory, too: it wants another flag
    const OwnedHandle closedAtOnce(file);
    return true;
}

}  // namespace kel::platform
