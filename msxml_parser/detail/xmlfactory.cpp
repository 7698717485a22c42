#include "msxml_parser/detail/xmlfactory.h"

#include "msxml_parser/detail/directparser.h"
#include "msxml_parser/detail/msxmlschema.h"
#include "msxml_parser/detail/msxslstylesheet.h"

namespace msxml {

IKelXmlSchema* XmlFactory::createSchema() {
    return makeParser<MSXmlSchema>();
}

IKelXslStyleSheet* XmlFactory::createStyleSheet() {
    return makeParser<MSXslStyleSheet>();
}

}  // namespace msxml
