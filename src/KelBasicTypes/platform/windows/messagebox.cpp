#include "KelBasicTypes/platform/messagebox.h"

#include <windows.h>

#include <algorithm>

#include "KelBasicTypes/platform/windows/wide.h"

namespace kel::platform {
namespace {

// What does not fit is left out.
template <std::size_t capacity>
void copyText(char16_t (&target)[capacity], std::u16string_view text) noexcept {
    const std::size_t length = std::min(text.size(), capacity - 1);
    std::copy_n(text.data(), length, target);
    target[length] = u'\0';
}

}  // namespace

void showMessageBox(std::u16string_view message, std::u16string_view caption) noexcept {
    char16_t messageText[2048];
    char16_t captionText[256];
    copyText(messageText, message);
    copyText(captionText, caption);
    (void)MessageBoxW(nullptr, toWide(messageText), toWide(captionText), MB_OK);
}

}  // namespace kel::platform
