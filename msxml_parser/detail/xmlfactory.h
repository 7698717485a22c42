// Makes schemas and style sheets, for every class that hands them out.
#pragma once

#include "msxml_parser/ikelxmlfactory.h"

namespace msxml {

class XmlFactory : public virtual IKelXmlFactory {
public:
    IKelXmlSchema* createSchema() final;
    IKelXslStyleSheet* createStyleSheet() final;
};

}  // namespace msxml
