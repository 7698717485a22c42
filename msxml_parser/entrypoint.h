// Where a host with a component manager enters the library. Threads: any.
#pragma once

#include <cstdint>

#include "msxml_parser/export.h"

class IKelComponent;

// 1: `*component` is a new component object with reference count 0 and `*version` is 100, the version of the
// entry protocol. 0: it could not be made; both are cleared. With a null `component`: 0, nothing is written.
// `version` must not be null. Lets no exception out. The name is plain, so that a host can find it at run
// time.
extern "C" MSXML_PARSER_EXPORT int EntryPoint(std::uint32_t* version, IKelComponent** component);
