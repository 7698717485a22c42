// Style sheets that are compiled once and run any number of times.
//
//     IPtr<IKelXslStyleSheet> sheet(factory->createStyleSheet());
//     sheet->setTextParameter(u"title", u"", u"Shelf");
//     if (sheet->compileFile(u"shelf.xsl") && sheet->transformToString(document.get(), result)) ...
//
// Ownership: a style sheet comes with reference count 0; take it into an IPtr. Threads: one at a time, the
// thread whose COM was initialised when it was made. The engine's limits on work, inclusions and access to
// files are those of IKelDOMXmlV2's transformations.
#pragma once

#include <string_view>

#include "KelBasicTypes/kelstring.h"
#include "framework/object/kelunknown.h"
#include "msxml_parser/ikelxmlerror.h"

class BinOutput;
class IKelDOMXml;

// The receiver of what a style sheet says, implemented by the caller. It is borrowed until another one is
// set. The views are valid during the call. What it throws leaves the operation; std::bad_alloc as
// _com_error.
class IKelXslMessageHandler {
public:
    // An xsl:message, in the order of the messages, before the transformation returns. `isLast`: it ended the
    // transformation, which fails with this text as its reason.
    virtual void message(std::u16string_view text, bool isLast) = 0;
    // Something that was passed over, such as an instruction that is not known: "FILE, line N: what", while
    // the style sheet is compiled or run. What is our own is in the words of the current translator.
    virtual void warning(std::u16string_view text) = 0;

protected:
    // Never destroyed through this interface, so a destructor takes no slot.
    ~IKelXslMessageHandler() = default;
};

class IKelXslStyleSheet : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelXslStyleSheet"; }

    // False, with the error object set and the style sheet of before still there: it cannot be read, is not
    // well formed, or is rejected; the reason names each cause on a line of its own.
    virtual bool compileFile(const KelString& path) = 0;
    // What it includes is sought from the working directory. A declared encoding is ignored.
    virtual bool compileString(const KelString& text) = 0;

    // A value for a parameter of the style sheet, by its local name and its namespace, empty for none; it
    // holds for all transformations until it is changed. One that the style sheet does not have is ignored. A
    // name that is none, with a prefix included: false.
    virtual bool setTextParameter(const KelString& name, const KelString& namespaceUri,
                                  const KelString& value) = 0;
    virtual bool setNumberParameter(const KelString& name, const KelString& namespaceUri, double value) = 0;
    virtual bool setTruthParameter(const KelString& name, const KelString& namespaceUri, bool value) = 0;
    virtual void clearParameters() = 0;

    // Null: none. On Windows the engine hands out no messages or warnings, except that a message
    // which ends the transformation is in the error's reason.
    virtual void setMessageHandler(IKelXslMessageHandler* handler) = 0;

    // The source is a document of this component as it is now. False, with the error object set. Results
    // replace what was there; on failure they are unchanged.
    virtual bool transformToString(IKelDOMXml* source, KelString& result) = 0;
    virtual bool transformToDocument(IKelDOMXml* source, IKelDOMXml* result) = 0;
    // Bytes in the encoding that the style sheet asks for, UTF-8 if it asks for none, written from where the
    // stream stands and flushed. A stream that takes no more is kFileNotReadable; what was written by then
    // stays. What the stream throws comes out.
    virtual bool transformToStream(IKelDOMXml* source, BinOutput& out) = 0;

    // The style sheet's own, as long-lived as the style sheet.
    virtual IKelXmlError* getError() = 0;
};
