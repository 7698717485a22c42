// The library for C++ programs: documents, elements and attributes as values, UTF-8 and UTF-16 as the
// standard library has them, ranges, optional values, errors as exceptions or as results.
//
//     namespace xml = msxml_parser;
//
//     xml::Document document;
//     document.loadFile("shelf.xml");
//     for (xml::Element book : document.root().children("book"))
//         std::cout << book.attribute("year").value_or("?") << ' ' << book.text() << '\n';
//     document.saveFile("shelf.xml", {.indent = true});
//
// A program that is linked to the library makes its objects without arguments, and they initialise COM on
// their thread. One that runs a host makes them from parsers of the host:
//
//     xml::Document document(host.create<IKelDOMXmlV2>("MSDOMXml").get());
//
// Everything here is inline over the component's interfaces, which are within reach at any time
// (Document::parser, Element::handle). Pages: docs/xml.md.
#pragma once

#include "framework/object/needscxx20.h"  // first

#include "msxml_parser/xml/document.h"
#include "msxml_parser/xml/element.h"
#include "msxml_parser/xml/error.h"
#include "msxml_parser/xml/reader.h"
#include "msxml_parser/xml/schema.h"
#include "msxml_parser/xml/stylesheet.h"
#include "msxml_parser/xml/text.h"
