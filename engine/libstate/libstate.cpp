// Initialisations run once, whichever thread comes first. A failed allocation shows in errno, which libxml2
// leaves as the allocator set it.
#include "engine/libstate/libstate.h"

#include <cerrno>
#include <cstddef>
#include <mutex>
#include <new>
#include <vector>

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlschemastypes.h>
#include <libxslt/xslt.h>

namespace engine::libstate {

void initialiseLibxml2() {
    static std::once_flag once;
    std::call_once(once, xmlInitParser);
}

void initialiseSchemas() {
    initialiseLibxml2();
    static std::once_flag once;
    std::call_once(once, [] {
        // libxml2 uses the tables that it builds without checking that it got the memory for them. When this
        // much cannot be had, the caller learns so instead, and the next call tries again.
        constexpr std::size_t kTypesInBytes = std::size_t{64} << 10;
        std::vector<char>(kTypesInBytes).clear();
        xmlSchemaInitTypes();
    });
}

void initialiseLibxslt() {
    initialiseLibxml2();
    static std::once_flag once;
    std::call_once(once, xsltInit);
}

AllocationError::AllocationError() noexcept : previous_(errno) {
    errno = 0;
}

AllocationError::~AllocationError() {
    if (!happened()) errno = previous_;
}

bool AllocationError::happened() const noexcept {
    return errno == ENOMEM;
}

void AllocationError::throwIfHappened() const {
    if (happened()) throw std::bad_alloc();
}

KeepErrno::KeepErrno() noexcept : before_(errno) {}

KeepErrno::~KeepErrno() {
    if (before_ == ENOMEM) errno = ENOMEM;
}

namespace {
void ignore(void*, const char*, ...) {}
}  // namespace

// Asking for the thread's state would initialise the library, too, but without a lock.
LastError::LastError() noexcept {
    initialiseLibxml2();
    if (xmlGetLastError() != nullptr) (void)xmlCopyError(xmlGetLastError(), &saved_);
}

LastError::~LastError() {
    xmlResetLastError();
    if (saved_.code == XML_ERR_OK) return;
    (void)xmlCopyError(&saved_, const_cast<xmlError*>(&xmlLastError));  // const in newer versions
    xmlResetError(&saved_);
}

ErrorHandler::ErrorHandler(const Setting& setting) noexcept
    : previous_{xmlStructuredError, xmlStructuredErrorContext} {
    xmlSetStructuredErrorFunc(setting.context, setting.function);
}

ErrorHandler::~ErrorHandler() {
    xmlSetStructuredErrorFunc(previous_.context, previous_.function);
}

ThreadSettings::ThreadSettings(const Listener& listener, xmlParserInputBufferCreateFilenameFunc open) noexcept
    : structured_({listener.structured, listener.context}),
      generic_(xmlGenericError),
      genericContext_(xmlGenericErrorContext),
      open_(xmlParserInputBufferCreateFilenameDefault(open)),
      registerNode_(xmlRegisterNodeDefaultValue),
      deregisterNode_(xmlDeregisterNodeDefaultValue),
      keepBlanks_(xmlKeepBlanksDefault(1)),
      substituteEntities_(xmlSubstituteEntitiesDefault(0)),
      lineNumbers_(xmlLineNumbersDefault(1)),
      loadExternalDtd_(xmlLoadExtDtdDefaultValue),
      validityChecking_(xmlDoValidityCheckingDefaultValue),
      pedantic_(xmlPedanticParserDefault(0)),
      indentOutput_(xmlIndentTreeOutput),
      noEmptyTags_(xmlSaveNoEmptyTags),
      indentString_(xmlTreeIndentString) {
    // null would mean the library's own, which prints
    xmlSetGenericErrorFunc(listener.context, listener.generic != nullptr ? listener.generic : ignore);
    // not through the setters: those switch something on for the whole process
    xmlRegisterNodeDefaultValue = nullptr;
    xmlDeregisterNodeDefaultValue = nullptr;
    xmlLoadExtDtdDefaultValue = 0;
    xmlDoValidityCheckingDefaultValue = 0;
    xmlIndentTreeOutput = 1;
    xmlSaveNoEmptyTags = 0;
    xmlTreeIndentString = "  ";
}

ThreadSettings::~ThreadSettings() {
    xmlSetGenericErrorFunc(genericContext_, generic_);
    (void)xmlParserInputBufferCreateFilenameDefault(open_);
    xmlRegisterNodeDefaultValue = registerNode_;
    xmlDeregisterNodeDefaultValue = deregisterNode_;
    xmlSaveNoEmptyTags = noEmptyTags_;
    xmlTreeIndentString = indentString_;
    (void)xmlKeepBlanksDefault(keepBlanks_);  // clears the next one as well, hence before it
    xmlIndentTreeOutput = indentOutput_;
    (void)xmlSubstituteEntitiesDefault(substituteEntities_);
    (void)xmlLineNumbersDefault(lineNumbers_);
    xmlLoadExtDtdDefaultValue = loadExternalDtd_;
    xmlDoValidityCheckingDefaultValue = validityChecking_;
    (void)xmlPedanticParserDefault(pedantic_);
}

}  // namespace engine::libstate
