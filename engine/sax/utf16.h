// UTF-8 that is known to be valid, as everything is that a reader delivers, to UTF-16.
#pragma once

#include <cstddef>
#include <string_view>

namespace engine::sax {

// Writes at most utf8.size() units and returns how many. Faster than engine::text's conversion, which accepts
// anything.
std::size_t convertValid(std::string_view utf8, char16_t* to) noexcept;

}  // namespace engine::sax
