// The receiver of all that a document holds, in the order in which it stands there; for IKelSAXXmlV3. It is
// implemented by the caller and not counted. KelSAXXmlEvents is one that ignores everything: derive from it
// and override what is of interest. Threads: called on the thread that parses.
#pragma once

#include <span>
#include <string_view>

// Views of a parser's text: they are valid during the call that hands them over; copy what is needed later.
// UTF-16 units, not terminated by a NUL.

// The name of an element or attribute, taken apart.
struct KelSAXXmlName {
    std::u16string_view qualified;     // as written, with its prefix
    std::u16string_view local;         // without it
    std::u16string_view prefix;        // empty: none
    std::u16string_view namespaceUri;  // empty: in no namespace
};

// An attribute of an element.
struct KelSAXXmlAttribute {
    KelSAXXmlName name;         // without a prefix it is in no namespace
    std::u16string_view value;  // references expanded, white space normalised
};

// A namespace that an element declares for itself and what it holds.
struct KelSAXXmlDeclaration {
    std::u16string_view prefix;        // empty: the default namespace
    std::u16string_view namespaceUri;  // empty: the default namespace is taken back
};

// What a handler throws ends the parse and leaves the parser's operation as it is; std::bad_alloc as
// _com_error.
class IKelSAXXmlHandlerV2 {
public:
    virtual void startDocument() = 0;  // before all others
    virtual void endDocument() = 0;    // of a document that is well formed to its end

    // `attributes` in document order, without the namespace declarations, which are in `declarations`.
    virtual void startElement(const KelSAXXmlName& name, std::span<const KelSAXXmlAttribute> attributes,
                              std::span<const KelSAXXmlDeclaration> declarations) = 0;
    virtual void endElement(const KelSAXXmlName& name) = 0;

    // Character data, CDATA included; one run of text may come in several pieces.
    virtual void characters(std::u16string_view text) = 0;
    // Before and after the characters of a CDATA section.
    virtual void startCData() = 0;
    virtual void endCData() = 0;

    // What stands between "<!--" and "-->", and between "<?" and "?>"; inside the root element or outside.
    virtual void comment(std::u16string_view text) = 0;
    virtual void processingInstruction(std::u16string_view target,
                                       std::u16string_view data) = 0;  // data without the space before it

protected:
    // Never destroyed through this interface, so a destructor takes no slot.
    ~IKelSAXXmlHandlerV2() = default;
};

// Ignores all events.
class KelSAXXmlEvents : public IKelSAXXmlHandlerV2 {
public:
    void startDocument() override {}
    void endDocument() override {}
    void startElement(const KelSAXXmlName& /*name*/, std::span<const KelSAXXmlAttribute> /*attributes*/,
                      std::span<const KelSAXXmlDeclaration> /*declarations*/) override {}
    void endElement(const KelSAXXmlName& /*name*/) override {}
    void characters(std::u16string_view /*text*/) override {}
    void startCData() override {}
    void endCData() override {}
    void comment(std::u16string_view /*text*/) override {}
    void processingInstruction(std::u16string_view /*target*/, std::u16string_view /*data*/) override {}

protected:
    ~KelSAXXmlEvents() = default;
};
