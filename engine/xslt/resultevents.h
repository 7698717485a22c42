// Delivers the result tree of a transformation as events, so that it becomes a document like any other.
// Threads: as the tree.
#pragma once

#include <libxml/tree.h>

#include "engine/reader/events.h"

namespace engine::xslt {

// Throws com::Exception if the tree is not a document: more than one element at the top, or none, or text
// there.
void sendEvents(const xmlDoc& result, reader::EventSink& sink);

}  // namespace engine::xslt
