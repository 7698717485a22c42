// Which texts does the component's writer put down in a form that does not load again?
#pragma once

#include <cstddef>
#include <vector>

#include "msxml_parser/ikeldomxml.h"
#include "tools/kelxml/documents/elementpath.h"

namespace kelxml {

// The first such texts and attribute values in document order, at most `limit`. Each is written by itself
// into `scratch`, whose document is lost, and read back. Only an ampersand can bring the writer's escaping
// out of step, so texts without one are not tried.
[[nodiscard]] std::vector<Difference> findUnwritable(IKelDOMXmlElement& root, IKelDOMXmlV2& scratch,
                                                     std::size_t limit);

}  // namespace kelxml
