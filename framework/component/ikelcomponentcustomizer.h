// Starts and stops what a component needs besides itself. Not counted. Threads: the component's.
#pragma once

class IKelComponentCustomizer {
public:
    // 0.
    virtual ~IKelComponentCustomizer() = default;
    // 1. and 2. The results are for the caller; the component itself drops them.
    virtual bool start() = 0;
    virtual bool stop() = 0;
};
