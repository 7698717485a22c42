// libxslt reports the errors of a style sheet's compilation to one handler for the whole process. While an
// object of this class lives, what this thread's calls report goes to its listener; all other threads are
// forwarded to the handler that was there before, which is put back when the last object goes.
// Threads: made and destroyed on one thread; any number of threads at once.
#pragma once

#include <string>
#include <string_view>

#include <cstdarg>

namespace engine::libstate {

// printf's text, whatever its length. Throws std::bad_alloc.
[[nodiscard]] std::string formatted(const char* format, std::va_list arguments);

class XsltErrors final {
public:
    // Receives the text piece by piece. It may throw std::bad_alloc: short of memory, the piece is lost.
    struct Listener {
        void* context = nullptr;
        void (*function)(void* context, std::string_view piece) = nullptr;
    };

    explicit XsltErrors(const Listener& listener);
    ~XsltErrors();
    XsltErrors(const XsltErrors&) = delete;
    XsltErrors& operator=(const XsltErrors&) = delete;

private:
    Listener listener_;
    const Listener* previous_;
};

}  // namespace engine::libstate
