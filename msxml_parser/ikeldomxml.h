// The DOM parser: one document that is loaded, walked, edited, written, transformed and validated.
//
// Results: loadFromString, loadFromFile, saveToString, saveToFile, setRootElement, the transformations and
// validate clear the error object (getError) first and set it on failure; the operations that return bool
// then return false. No other operation of the first two versions touches it (loadFromStream does once all
// bytes have been read). What else the engine rejects leaves as `_com_error` (msxml_parser/comerror.h),
// status and description unchanged; of a parser whose engine document could not be made, operations that do
// not check for it raise E_POINTER the same way. Ownership: a parser comes with reference count 0; take it
// into an IPtr. Elements and iterators likewise. They hold the document themselves: they outlive the parser,
// and after a further load they still see the old content. Threads: one at a time, the thread whose COM was
// initialised when the parser was made.
#pragma once

#include "KelBasicTypes/kelstring.h"
#include "framework/object/kelunknown.h"
#include "msxml_parser/ikeldomxmlelement.h"
#include "msxml_parser/ikeldomxmlelementitr.h"
#include "msxml_parser/ikeldomxmlerror.h"

class BinInput;
class BinOutput;

class IKelDOMXml : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDOMXml"; }

    // Error codes of a DOM parser.
    enum ErrorCode : int {
        kFileNotReadable = 1,     // missing, a folder, or not permitted
        kRejectedByEngine = 3,    // a load, a validation or a transformed source was rejected, with a reason
        kInvalidElement = 4,      // not an element of this component
        kNoDocument = 5,          // the engine could not make one
        kTransformFailed = 6,     // no style sheet or result of this component, or the engine rejected it
        kValidationNotSetUp = 7,  // the schema file cannot be read, or the engine has no schemas
    };

    // Loading replaces the whole document; after a failed load there is no root element.
    // Reads the stream from its start as 8-bit text, each byte widened by sign extension: pure ASCII is safe,
    // other encodings are not decoded. A short read returns false and leaves the error object alone.
    virtual bool loadFromStream(BinInput& in) = 0;
    virtual bool loadFromString(const KelString& text) = 0;  // a declared encoding is ignored
    virtual bool loadFromFile(
        const KelString& path) = 0;  // in the encoding that the file declares, else UTF-8

    // Not offered: returns false and touches nothing.
    virtual bool saveToStream(BinOutput& out) = 0;
    // Writes the root element and what is below it; nothing outside the root element, no declaration.
    // Appends to `out`. Without a root element: _com_error with E_POINTER.
    virtual bool saveToString(KelString& out) = 0;
    // As 8-bit text with the host's string support, else ASCII alone. A file that cannot be opened for
    // writing: false, with a message and error code 0. When the engine fails the file stays open.
    virtual bool saveToFile(const KelString& path) = 0;

    // New handles with count 0. Without a root element the handle refers to nothing and its operations throw.
    virtual IKelDOMXmlElement* getRootElement() = 0;
    virtual IKelDOMXmlElement* createElement(const KelString& name) = 0;  // belongs to no parent yet
    virtual IKelDOMXmlElementItr* getRootElementItr() = 0;                // over the root's child elements

    // Appends the element to the document. If that has a root element: _com_error. Null and elements of
    // another implementation set error code 4.
    virtual void setRootElement(IKelDOMXmlElement* element) = 0;

    // The parser's own, as long-lived as the parser; a reference on it does not keep it.
    virtual IKelDOMXmlError* getError() = 0;
};

// Transformation, validation and processing instructions.
class IKelDOMXmlV2 : public virtual IKelDOMXml {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDOMXmlV2"; }

    // Style sheet: the root element of a parser of this component; borrowed for the call. Every error is
    // reported in this parser's error object, none is thrown. A source whose last load failed reports that
    // load's error even though the output has been produced.
    virtual bool transformToDocument(IKelDOMXml* styleSheet, IKelDOMXml* result) = 0;  // replaces its content
    virtual bool transformToString(IKelDOMXml* styleSheet, KelString& result) = 0;     // replaces its content

    // Whether a load also validates against the schema of the last `validate`. Neither touches the error
    // object.
    virtual void setValidateOnParse(bool on) = 0;
    virtual bool getValidateOnParse() = 0;

    // Against one XML Schema file for one target namespace. The schema stays attached to the document until
    // the next call. A file that is no schema: _com_error.
    virtual bool validate(const KelString& namespaceUri, const KelString& schemaPath) = 0;

    // Appends a processing instruction to the document; leaves the error object alone. Saving does not write
    // it.
    virtual bool addProcessingInstruction(const KelString& target, const KelString& data) = 0;
};
