// SAX parsers without a component manager.
//
//     XmlSAX sax;
//     IPtr<IKelSAXXmlV2> parser(sax.getParser());
#pragma once

#include "msxml_parser/export.h"
#include "msxml_parser/ikelsaxxml.h"

class MSXMLParserComponentCustomizer;

// Threads: one object may serve any number of threads that have COM initialised; constructing one initialises
// it.
class MSXML_PARSER_EXPORT XmlSAX {
public:
    XmlSAX();                               // initialises COM on this thread
    XmlSAX(const XmlSAX& other) = default;  // shares the other's customizer, as assignment does
    ~XmlSAX();                              // leaves COM initialised: parsers go on living
    XmlSAX& operator=(const XmlSAX& other);

    // A new parser with reference count 0 on every call, the caller's to take; null if it could not be made.
    // A parser without an engine reader is returned and reports so when asked to parse.
    IKelSAXXmlV2* getParser();

private:
    MSXMLParserComponentCustomizer* customizer_;  // lives until the process ends
};
