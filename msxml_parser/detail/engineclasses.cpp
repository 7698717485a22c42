#include "msxml_parser/detail/engineclasses.h"

#include "msxml_parser/detail/text.h"

namespace msxml {

ComPtr<ISAXXMLReader> makeFullReader(int depthLimit) {
    ComPtr<ISAXXMLReader> reader;
    if (FAILED(createEngineObject(kSaxReader60Class, reader))) return {};
    VARIANT depth;
    VariantInit(&depth);
    depth.vt = VT_I4;
    depth.lVal = depthLimit;
    (void)reader->putProperty(toOleChars(u"max-element-depth"), depth);
    for (const char16_t* const off :
         {u"prohibit-dtd", u"http://xml.org/sax/features/external-general-entities",
          u"http://xml.org/sax/features/external-parameter-entities"}) {
        (void)reader->putFeature(toOleChars(off), VARIANT_FALSE);
    }
    return reader;
}

}  // namespace msxml
