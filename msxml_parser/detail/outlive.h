// Objects that required behaviour leaves alive until the process ends although nobody uses them any more:
// kept reachable, so that a leak checker sees intention and reports only mistakes. Threads: any.
#pragma once

namespace msxml {

// Takes note of the object and does nothing else with it, ever. Null is allowed.
void keepUntilProcessEnd(const void* object) noexcept;

}  // namespace msxml
