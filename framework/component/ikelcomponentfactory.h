// Makes the component object. Not counted. Threads: any.
#pragma once

class IKelComponent;

class IKelComponentFactory {
public:
    // 0.
    virtual ~IKelComponentFactory() = default;
    // 1. A new component with count 0: the caller takes the first reference. Null when there was no memory.
    virtual IKelComponent* createComponent() = 0;
};
