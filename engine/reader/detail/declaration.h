// The XML declaration: checked here for both parsers, which start after it.
#pragma once

#include <cstdint>

#include "engine/source/errors.h"
#include "engine/source/textsource.h"

namespace engine::reader::detail {

struct Declaration {
    std::uint64_t length = 0;  // bytes of decoded text; 0: there is none
    bool isStandalone = false;
    source::Fault fault;
};

// `source` stands at its start; its window then holds the declaration and at least what follows it up to
// here.
[[nodiscard]] Declaration readDeclaration(source::TextSource& source);

}  // namespace engine::reader::detail
