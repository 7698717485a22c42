// The extension functions that style sheets may call: node-set of urn:schemas-microsoft-com:xslt, node-set
// and object-type of EXSLT's common module. Threads: as the context.
#pragma once

#include <libxslt/xsltInternals.h>

namespace engine::xslt {

void addFunctions(xsltTransformContext& context);  // to this context only; throws std::bad_alloc

}  // namespace engine::xslt
