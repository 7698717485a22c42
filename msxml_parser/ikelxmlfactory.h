// Makes the objects that work on documents and belong to none. Every DOM and SAX parser of the component has
// this interface; ask for it by its name. Threads: as the parser.
#pragma once

#include "framework/object/kelunknown.h"
#include "msxml_parser/ikelxmlschema.h"
#include "msxml_parser/ikelxslstylesheet.h"

class IKelXmlFactory : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelXmlFactory"; }

    // New objects with count 0, independent of the parser; null when memory runs out.
    virtual IKelXmlSchema* createSchema() = 0;
    virtual IKelXslStyleSheet* createStyleSheet() = 0;
};
