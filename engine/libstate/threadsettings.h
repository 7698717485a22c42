// libxml2 keeps settings for each thread that a host may have made its own. The objects here change them for
// the time of a call and put back what they found. Nothing here is shared by the process.
// Threads: made and destroyed on one thread; objects may nest.
#pragma once

#include <libxml/xmlIO.h>
#include <libxml/xmlerror.h>

namespace engine::libstate {

// The thread's record of the last error stays the host's, whatever happens meanwhile.
class LastError final {
public:
    LastError() noexcept;
    ~LastError();
    LastError(const LastError&) = delete;
    LastError& operator=(const LastError&) = delete;

private:
    xmlError saved_{};
};

// The thread's handler of structured errors, which serves all contexts that have none of their own.
class ErrorHandler final {
public:
    struct Setting {
        xmlStructuredErrorFunc function = nullptr;
        void* context = nullptr;
    };

    explicit ErrorHandler(const Setting& setting) noexcept;
    ~ErrorHandler();
    ErrorHandler(const ErrorHandler&) = delete;
    ErrorHandler& operator=(const ErrorHandler&) = delete;

    // What was in force before; to be set again while the host's code is called.
    [[nodiscard]] const Setting& previous() const noexcept { return previous_; }

private:
    Setting previous_;
};

// All of the thread's settings are the library's defaults, and its errors come to us.
class ThreadSettings final {
public:
    // Receives what the thread's calls report, through either of libxml2's channels.
    struct Listener {
        void* context = nullptr;
        xmlStructuredErrorFunc structured = nullptr;
        xmlGenericErrorFunc generic = nullptr;  // null: ignored
    };

    // `open` is asked for every file that libxml2 wants to read.
    ThreadSettings(const Listener& listener, xmlParserInputBufferCreateFilenameFunc open) noexcept;
    ~ThreadSettings();
    ThreadSettings(const ThreadSettings&) = delete;
    ThreadSettings& operator=(const ThreadSettings&) = delete;

private:
    LastError lastError_;
    ErrorHandler structured_;
    xmlGenericErrorFunc generic_;
    void* genericContext_;
    xmlParserInputBufferCreateFilenameFunc open_;
    xmlRegisterNodeFunc registerNode_;
    xmlDeregisterNodeFunc deregisterNode_;
    int keepBlanks_;
    int substituteEntities_;
    int lineNumbers_;
    int loadExternalDtd_;
    int validityChecking_;
    int pedantic_;
    int indentOutput_;
    int noEmptyTags_;
    const char* indentString_;
};

}  // namespace engine::libstate
