#include "engine/libstate/initialise.h"

#include <libxml/parser.h>
#include <libxml/xmlschemastypes.h>
#include <libxslt/xslt.h>

#include <cstddef>
#include <mutex>
#include <new>
#include <vector>

namespace engine::libstate {

void initialiseLibxml2() {
    static std::once_flag once;
    std::call_once(once, xmlInitParser);
}

void initialiseSchemas() {
    initialiseLibxml2();
    static std::once_flag once;
    std::call_once(once, [] {
        // libxml2 uses the tables that it builds without checking that it got the memory for them. When this
        // much cannot be had, the caller learns so instead, and the next call tries again.
        constexpr std::size_t kTypesInBytes = std::size_t{64} << 10;
        std::vector<char>(kTypesInBytes).clear();
        xmlSchemaInitTypes();
    });
}

void initialiseLibxslt() {
    initialiseLibxml2();
    static std::once_flag once;
    std::call_once(once, xsltInit);
}

}  // namespace engine::libstate
