// Do two documents hold the same elements, attributes and texts?
#pragma once

#include <cstddef>
#include <vector>

#include "msxml_parser/ikeldomxmlelement.h"
#include "tools/kelxml/documents/elementpath.h"

namespace kelxml {

enum class HiddenText {
    None,      // the caller knows that the original holds no CDATA section
    Possible,  // it may; elements do not show the text of one, so it takes a detour to compare it
};

// The first differences in document order, at most `limit`. Neither tree is changed. Cost: linear in the
// documents, once more for each level of elements whose hidden texts differ.
[[nodiscard]] std::vector<Difference> compareTrees(IKelDOMXmlElement& original, IKelDOMXmlElement& copy,
                                                   HiddenText hidden, std::size_t limit);

}  // namespace kelxml
