// libxml2 keeps settings for each thread that a host may have made its own. While an object of this class
// lives, the thread has the library's defaults and tells its errors to us; afterwards it has the host's
// settings again, and the host's last error. Nothing here is shared by the process.
// Threads: made and destroyed on one thread; objects may nest.
#pragma once

#include <libxml/xmlIO.h>
#include <libxml/xmlerror.h>

namespace engine::xml2 {

class ThreadSettings final {
public:
    // Receives what the thread's calls have to say, through either of libxml2's channels.
    struct Listener {
        void* context = nullptr;
        xmlStructuredErrorFunc structured = nullptr;
        xmlGenericErrorFunc generic = nullptr;
    };

    // `open` is asked for every file that libxml2 wants to read; see OpenFiles.
    ThreadSettings(const Listener& listener, xmlParserInputBufferCreateFilenameFunc open) noexcept;
    ~ThreadSettings();
    ThreadSettings(const ThreadSettings&) = delete;
    ThreadSettings& operator=(const ThreadSettings&) = delete;

private:
    xmlStructuredErrorFunc structured_;
    void* structuredContext_;
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
    xmlError lastError_{};
};

}  // namespace engine::xml2
