#include "tools/kelxml/platform/terminal.h"

#include <windows.h>

namespace kelxml {

std::optional<std::size_t> terminalColumns() noexcept {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) == 0) return std::nullopt;
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

}  // namespace kelxml
