// The shape of the user's terminal. Threads: any.
#pragma once

#include <cstddef>
#include <optional>

namespace kelxml {

// How many columns the terminal has that standard output goes to; nothing if it goes elsewhere.
[[nodiscard]] std::optional<std::size_t> terminalColumns() noexcept;

}  // namespace kelxml
