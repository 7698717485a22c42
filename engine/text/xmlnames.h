// Which texts are names in XML with namespaces. Threads: pure functions.
#pragma once

#include <string_view>

namespace engine::text {

[[nodiscard]] bool isNcName(std::u16string_view text) noexcept;         // a name without a colon
[[nodiscard]] bool isQualifiedName(std::u16string_view text) noexcept;  // with a prefix or without

}  // namespace engine::text
