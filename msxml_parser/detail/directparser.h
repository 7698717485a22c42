// What XmlDOM and XmlSAX have in common.
#pragma once

#include "msxml_parser/detail/customizer.h"
#include "msxml_parser/detail/outlive.h"

namespace msxml {

// A customizer that has initialised COM on this thread. It is never given back: copies of the wrapper that
// asked for it share it, and parsers go on using COM after the wrapper is gone.
[[nodiscard]] inline MSXMLParserComponentCustomizer* startCustomizer() {
    auto* const customizer = new MSXMLParserComponentCustomizer;
    keepUntilProcessEnd(customizer);
    (void)customizer->start();
    return customizer;
}

// A new parser with count 0, null if it could not be made.
template <typename Parser>
[[nodiscard]] Parser* makeParser() noexcept {
    try {
        return new Parser;
    } catch (...) {
        return nullptr;
    }
}

}  // namespace msxml
