// Marks what the shared library shows the outside. The one place that knows how a compiler spells it. On
// Windows a definition file lists the names: a mark on a class shows its inline members. Threads: no state.
#pragma once

#if defined(__GNUC__) && !defined(_WIN32)
#define MSXML_PARSER_EXPORT __attribute__((visibility("default")))
#else
#define MSXML_PARSER_EXPORT
#endif
