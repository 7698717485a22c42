#include "msxml_parser/detail/customizer.h"

#include "msxml_parser/detail/platformcom.h"

bool MSXMLParserComponentCustomizer::start() {
    (void)CoInitialize(nullptr);
    return true;
}

bool MSXMLParserComponentCustomizer::stop() {
    CoUninitialize();
    return true;
}
