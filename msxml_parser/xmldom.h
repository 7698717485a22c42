// DOM parsers without a component manager.
//
//     XmlDOM dom;
//     IPtr<IKelDOMXmlV2> parser(dom.getParser());
#pragma once

#include "msxml_parser/export.h"
#include "msxml_parser/ikeldomxml.h"

class MSXMLParserComponentCustomizer;

// Threads: one object may serve any number of threads that have COM initialised; constructing one initialises
// it.
class MSXML_PARSER_EXPORT XmlDOM {
public:
    XmlDOM();                               // initialises COM on this thread
    XmlDOM(const XmlDOM& other) = default;  // shares the other's customizer, as assignment does
    ~XmlDOM();                              // leaves COM initialised: parsers go on living
    XmlDOM& operator=(const XmlDOM& other);

    // A new parser with reference count 0 on every call, the caller's to take; null if it could not be made.
    // A parser without an engine document is returned and reports so in its error object.
    IKelDOMXmlV2* getParser();

private:
    MSXMLParserComponentCustomizer* customizer_;  // lives until the process ends
};

// As getParser of one XmlDOM kept for the process. COM is initialised on the first calling thread alone:
// other threads must have done so themselves.
extern "C" MSXML_PARSER_EXPORT IKelDOMXmlV2* createIKelDOMXml();
