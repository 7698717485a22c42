// Starts and stops what a component needs besides itself. Not counted.
#pragma once

class IKelComponentCustomizer {
public:
    // 0.
    virtual ~IKelComponentCustomizer() = default;
    // 1. and 2. The results are for whoever asks; the component itself drops them.
    virtual bool start() = 0;
    virtual bool stop() = 0;
};
