// Owners of libxml2's objects, each freed by its own function. Threads: as the objects.
#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/uri.h>
#include <libxml/xmlIO.h>

#include <memory>
#include <new>

#include "engine/libstate/xmlchars.h"

namespace engine::xml2 {

template <auto Free>
struct FreeBy {
    template <typename T>
    void operator()(T* object) const noexcept {
        Free(object);
    }
};

using DocHandle = std::unique_ptr<xmlDoc, FreeBy<xmlFreeDoc>>;
using DictHandle = std::unique_ptr<xmlDict, FreeBy<xmlDictFree>>;
using UriHandle = std::unique_ptr<xmlURI, FreeBy<xmlFreeURI>>;

struct FreeText {
    void operator()(xmlChar* text) const noexcept { xmlFree(text); }  // a variable, so no template argument
};
using TextHandle = std::unique_ptr<xmlChar, FreeText>;

// libxml2 returns null when memory runs out.
template <typename T>
[[nodiscard]] T* orThrow(T* object) {
    if (object == nullptr) throw std::bad_alloc();
    return object;
}

using libstate::chars;
using libstate::view;

}  // namespace engine::xml2
