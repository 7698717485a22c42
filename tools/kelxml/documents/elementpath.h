// How a message names an element of a document.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "msxml_parser/ikeldomxmlelement.h"

namespace kelxml {

struct Difference {
    std::string path;  // "/catalogue/book[3]", counted among the siblings of that name
    std::string what;  // one line
};

// "name[3]" for the third child of that name, "name" if it is the only one. The child at `childIndex`,
// counted from 0 among all child elements, must exist.
[[nodiscard]] std::string stepTo(IKelDOMXmlElement& parent, std::size_t childIndex);

// Part of a text from `start` on, fit for one line, quoted, with visible white space.
[[nodiscard]] std::string excerpt(std::u16string_view text, std::size_t start);

}  // namespace kelxml
