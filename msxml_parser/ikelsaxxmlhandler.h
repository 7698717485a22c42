// The receiver of a SAX parser's events, implemented by the caller. It is not counted: the parser borrows it
// while it is on the parser's receiver stack. Threads: called on the thread that parses.
#pragma once

#include <map>

#include "KelBasicTypes/kelstring.h"

// Attribute values by local name, in the order of the names. Of two attributes with the same local name (in
// two namespaces) the first one stays. Namespace declarations are not among them, except on Windows, where
// the platform reports them, too, all under the empty local name.
using KelSAXXmlAttributes = std::map<KelString, KelString>;

class IKelSAXXmlHandler {
public:
    // Names and the map belong to the parser and are valid during the call; copy what is needed later.
    // depth: 0 for the document element. Names come without their prefix.
    virtual void startElement(const KelString& name, int depth, const KelSAXXmlAttributes& attributes) = 0;
    // A piece of character data; one run of text may come in several.
    virtual void characters(const KelString& text) = 0;
    virtual void endElement(const KelString& name) = 0;

protected:
    // Never destroyed through this interface, so a destructor takes no slot.
    ~IKelSAXXmlHandler() = default;
};
