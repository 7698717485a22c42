// The one-time initialisation of libxml2 and libxslt. Both do it lazily and without a lock, so every layer
// calls its function here before its first call of the library. Threads: any number at once.
#pragma once

namespace engine::libstate {

void initialiseLibxml2();  // the parser, character encodings, XPath, the tree
void initialiseSchemas();  // the same, and the built-in types of XML Schema; throws std::bad_alloc
void initialiseLibxslt();  // libxml2, and the transformer's built-in elements

}  // namespace engine::libstate
