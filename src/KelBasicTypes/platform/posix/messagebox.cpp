#include "KelBasicTypes/platform/messagebox.h"

#include <unistd.h>

#include <cerrno>

#include "KelBasicTypes/detail/utf8encode.h"

namespace kel::platform {

void showMessageBox(std::u16string_view message, std::u16string_view caption) noexcept {
    detail::BoundedBytes<4096> text;  // what does not fit is left out
    detail::appendUtf8(text, caption);
    text.push_back('\n');
    detail::appendUtf8(text, message);
    text.push_back('\n');
    for (std::size_t done = 0; done < text.size;) {
        const ssize_t part = write(STDERR_FILENO, text.bytes + done, text.size - done);
        if (part > 0) done += static_cast<std::size_t>(part);
        if (part == 0 || (part < 0 && errno != EINTR)) return;  // no reader
    }
}

}  // namespace kel::platform
