// Marks what the shared library shows the outside. The one place that knows how a compiler spells it.
// MSXML_PARSER_BUILDING is defined while the library itself is built, MSXML_PARSER_STATIC where its objects
// are linked directly.
#pragma once

#if defined(_WIN32) && !defined(MSXML_PARSER_STATIC)
#if defined(MSXML_PARSER_BUILDING)
#define MSXML_PARSER_EXPORT __declspec(dllexport)
#else
#define MSXML_PARSER_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define MSXML_PARSER_EXPORT __attribute__((visibility("default")))
#else
#define MSXML_PARSER_EXPORT
#endif
