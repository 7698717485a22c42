// XML Schemas that are compiled once and used for any number of documents.
//
//     IPtr<IKelXmlFactory> factory(kel::queryInterface<IKelXmlFactory>(parser.get()));
//     IPtr<IKelXmlSchema> schema(factory->createSchema());
//     if (schema->addFile(u"urn:shelf", u"shelf.xsd") && !schema->validateFile(u"shelf.xml", &receiver)) ...
//
// Ownership: a schema comes with reference count 0; take it into an IPtr. Threads: one at a time, the thread
// whose COM was initialised when it was made.
#pragma once

#include <cstddef>
#include <string_view>

#include "KelBasicTypes/kelstring.h"
#include "framework/object/kelunknown.h"
#include "msxml_parser/ikelxmlerror.h"

class BinInput;
class IKelDOMXml;

// One thing in a document that does not fit the schema. The views are valid during the call that passes
// them.
struct KelXmlViolation {
    int line;    // of the element's start tag, from 1; 0: unknown, as of elements that were not loaded
    int column;  // in characters, from 1
    // The element as an XPath expression with the names as written, "/list[1]/p:item[3]"; more than some
    // forty steps lose the first ones: ".../item[3]". Empty on Windows while reading a file, a stream or
    // bytes.
    std::u16string_view path;
    std::u16string_view reason;  // one line, in the engine's words
    int code;                    // the engine's number for this kind of violation
};

// The receiver of violations, implemented by the caller. Borrowed for the call that it is given to.
class IKelXmlViolationHandler {
public:
    // In the order in which they are found. False: that is enough, the validation ends. What it throws leaves
    // the operation as it is; std::bad_alloc as _com_error.
    virtual bool violation(const KelXmlViolation& found) = 0;

protected:
    // Never destroyed through this interface, so a destructor takes no slot.
    ~IKelXmlViolationHandler() = default;
};

class IKelXmlSchema : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelXmlSchema"; }

    // Compiles the file, with what it includes and imports, for one target namespace; empty: for elements in
    // none. Another file for the same namespace takes the place of the first. False, and nothing changed: it
    // cannot be read, is no schema, or has another target namespace; the reason names each cause on a line of
    // its own.
    virtual bool addFile(const KelString& namespaceUri, const KelString& path) = 0;

    // True: valid. False, with the error object set: not valid (kNotValid, the first violation) or not
    // validated at all. `handler` gets every violation; null: the first one is enough. Memory that cannot be
    // had: _com_error with E_OUTOFMEMORY; a call inside one of the same schema: E_UNEXPECTED.
    //
    // A document of this component as it is now. What it had attached to validate with stays attached.
    virtual bool validate(IKelDOMXml* document, IKelXmlViolationHandler* handler) = 0;
    // While the document is read, without a tree: in constant memory however long it is, except that the
    // values of xs:key, xs:unique and xs:keyref are kept as long as their scope lasts. A value of type xs:ID
    // that occurs twice is found in a tree only; see mayRepeatIds. A DOCTYPE is read and its entities are
    // expanded; nothing outside the document is.
    virtual bool validateFile(const KelString& path, IKelXmlViolationHandler* handler) = 0;
    virtual bool validateBytes(const void* bytes, std::size_t byteCount,
                               IKelXmlViolationHandler* handler) = 0;
    // From where the stream stands to its end; it is neither positioned nor closed. What it throws comes out.
    virtual bool validateStream(BinInput& in, IKelXmlViolationHandler* handler) = 0;

    // The schema's own, as long-lived as the schema.
    virtual IKelXmlError* getError() = 0;

    // Whether the document that was validated last, without a tree, may hold a value of type xs:ID twice:
    // then only validate() shows whether it does. Seldom true of a document that holds none, but of all that
    // use types derived from xs:ID, and of those with more than 65,536 such values. Always true on Windows.
    virtual bool mayRepeatIds() = 0;
};
