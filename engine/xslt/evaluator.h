// XPath 1.0 over our trees, as documents ask for it. Threads: any number at once, each over trees of its own.
#pragma once

#include "engine/dom/services.h"

namespace engine::xslt {

[[nodiscard]] dom::Evaluator& evaluator() noexcept;

}  // namespace engine::xslt
