#include "engine/xml2/threadsettings.h"

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

namespace engine::xml2 {

namespace {
void saysNothing(void*, const char*, ...) {}
}  // namespace

ThreadSettings::ThreadSettings(const Listener& listener, xmlParserInputBufferCreateFilenameFunc open) noexcept
    : structured_(xmlStructuredError),
      structuredContext_(xmlStructuredErrorContext),
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
    xmlSetStructuredErrorFunc(listener.context, listener.structured);
    // null would mean the library's own, which prints
    xmlSetGenericErrorFunc(listener.context, listener.generic != nullptr ? listener.generic : saysNothing);
    // not through the setters: those switch something on for the whole process
    xmlRegisterNodeDefaultValue = nullptr;
    xmlDeregisterNodeDefaultValue = nullptr;
    xmlLoadExtDtdDefaultValue = 0;
    xmlDoValidityCheckingDefaultValue = 0;
    xmlIndentTreeOutput = 1;
    xmlSaveNoEmptyTags = 0;
    xmlTreeIndentString = "  ";
    if (xmlGetLastError() != nullptr) (void)xmlCopyError(xmlGetLastError(), &lastError_);
}

ThreadSettings::~ThreadSettings() {
    xmlSetStructuredErrorFunc(structuredContext_, structured_);
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
    xmlResetLastError();
    if (lastError_.code != XML_ERR_OK) {
        (void)xmlCopyError(&lastError_, const_cast<xmlError*>(&xmlLastError));  // const in newer versions
        xmlResetError(&lastError_);
    }
}

}  // namespace engine::xml2
