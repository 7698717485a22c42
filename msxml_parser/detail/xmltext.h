// What the component itself knows of XML's text: names, and values inside quotes.
// Threads: no shared state.
#pragma once

#include <string>
#include <string_view>

namespace msxml {

// Whether it is a name without a colon, as a prefix is. Engines are not all strict about it.
[[nodiscard]] bool isUnprefixedName(std::u16string_view name) noexcept;

// As it stands between double quotes.
[[nodiscard]] std::u16string escapedValue(std::u16string_view value);

}  // namespace msxml
