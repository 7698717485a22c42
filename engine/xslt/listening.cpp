#include "engine/xslt/listening.h"

#include <libxslt/xsltutils.h>

#include <cstdarg>
#include <mutex>

namespace engine::xslt {

namespace {

struct Shared {
    std::mutex lock;
    unsigned users = 0;
    xmlGenericErrorFunc handler = nullptr;  // the host's, while there are users
    void* context = nullptr;
};

constinit Shared shared;
thread_local xml2::Causes* current = nullptr;

void dispatch(void*, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    try {
        const std::string text = xml2::formatted(format, arguments);
        if (current != nullptr) {
            current->addText(text);
        } else {
            xmlGenericErrorFunc handler = nullptr;
            void* context = nullptr;
            {
                const std::lock_guard guard(shared.lock);
                handler = shared.handler;
                context = shared.context;
            }
            if (handler != nullptr) handler(context, "%s", text.c_str());
        }
    } catch (...) {
        // short of memory the text is lost
    }
    va_end(arguments);
}

}  // namespace

Listening::Listening(xml2::Causes& causes) : previous_(current) {
    const std::lock_guard guard(shared.lock);
    if (shared.users++ == 0) {
        shared.handler = xsltGenericError;
        shared.context = xsltGenericErrorContext;
        xsltGenericError = dispatch;
    }
    current = &causes;
}

Listening::~Listening() {
    current = previous_;
    const std::lock_guard guard(shared.lock);
    // a host that set a handler of its own meanwhile keeps it
    if (--shared.users == 0 && xsltGenericError == dispatch) xsltGenericError = shared.handler;
}

}  // namespace engine::xslt
