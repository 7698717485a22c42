#include "engine/libstate/xslterrors.h"

#include <libxslt/xsltutils.h>

#include <cstdio>
#include <mutex>

#include "engine/libstate/libstate.h"

namespace engine::libstate {

namespace {

struct Shared {
    std::mutex lock;
    unsigned users = 0;
    xmlGenericErrorFunc handler = nullptr;  // the host's, while there are users
    void* context = nullptr;
};

constinit Shared shared;
constinit thread_local const XsltErrors::Listener* current = nullptr;

void forward(const std::string& text) {
    xmlGenericErrorFunc handler = nullptr;
    void* context = nullptr;
    {
        const std::lock_guard guard(shared.lock);
        handler = shared.handler;
        context = shared.context;
    }
    if (handler != nullptr) handler(context, "%s", text.c_str());
}

void dispatch(void*, const char* format, ...) {
    const KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        const std::string text = formatted(format, arguments);
        if (current != nullptr) {
            current->function(current->context, text);
        } else {
            forward(text);
        }
    } catch (...) {
        // short of memory the text is lost, as the header says
    }
    va_end(arguments);
}

}  // namespace

std::string formatted(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length <= 0) return {};
    std::string text(static_cast<std::size_t>(length), '\0');
    (void)std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

XsltErrors::XsltErrors(const Listener& listener) : listener_(listener), previous_(current) {
    const std::lock_guard guard(shared.lock);
    if (shared.users++ == 0) {
        shared.handler = xsltGenericError;
        shared.context = xsltGenericErrorContext;
        xsltGenericError = dispatch;
    }
    current = &listener_;
}

XsltErrors::~XsltErrors() {
    current = previous_;
    const std::lock_guard guard(shared.lock);
    // a host that set a handler of its own meanwhile keeps it
    if (--shared.users == 0 && xsltGenericError == dispatch) xsltGenericError = shared.handler;
}

}  // namespace engine::libstate
