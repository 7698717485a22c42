// The state that libxml2 and libxslt keep for the process and for each thread: one-time initialisation,
// failed allocations, settings. Threads: initialisation any number at once; objects are made and destroyed on
// one thread, and may nest.
#pragma once

#include <libxml/xmlIO.h>
#include <libxml/xmlerror.h>

namespace engine::libstate {

// Both libraries initialise themselves lazily and without a lock, so every layer calls its function here
// before its first call of the library.
void initialiseLibxml2();  // the parser, character encodings, XPath, the tree
void initialiseSchemas();  // the same, and the built-in types of XML Schema; throws std::bad_alloc
void initialiseLibxslt();  // libxml2, and the transformer's built-in elements

// Whether an allocation of this thread has failed. libxml2 and libxslt do not report every failure: some
// of their functions go on without what they asked for, and return a wrong result as if it were right.
//
// A failed allocation leaves ENOMEM in errno, and nothing that succeeds clears it. Only a later failure of
// another kind can overwrite it; callbacks that may have one keep errno with KeepErrno.
class AllocationError final {
public:
    AllocationError() noexcept;  // from here on
    ~AllocationError();          // errno is again what it was, unless an allocation failed
    AllocationError(const AllocationError&) = delete;
    AllocationError& operator=(const AllocationError&) = delete;

    [[nodiscard]] bool happened() const noexcept;
    void throwIfHappened() const;  // std::bad_alloc

private:
    int previous_;
};

// For the time of a callback: a failed allocation before it stays known after it.
class KeepErrno final {
public:
    KeepErrno() noexcept;
    ~KeepErrno();
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;

private:
    int before_;
};

// libxml2 keeps settings for each thread that a host may have made its own. The objects here change them for
// the time of a call and put back what they found.

// The thread's record of the last error stays the host's, whatever happens meanwhile. Initialises libxml2.
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
