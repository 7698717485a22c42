// COM for the threads that make parsers, and what else outlives its maker. Threads: any, as far as no
// declaration says otherwise.
#pragma once

#include "framework/component/ikelcomponentcustomizer.h"

// Starts and stops COM for the calling thread.
class MSXMLParserComponentCustomizer : public virtual IKelComponentCustomizer {
public:
    // Both return true. A thread on which COM runs already, in whatever apartment, goes on with it.
    bool start() override;
    bool stop() override;
};

namespace msxml {

// For objects that stay alive until the process ends although nothing uses them any more: keeps them
// reachable, so that a leak checker reports only unintended leaks. Null is allowed.
void keepUntilProcessEnd(const void* object) noexcept;

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
