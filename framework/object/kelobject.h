// Root of every class of the object model. Threads: as the class says.
#pragma once

class KelObject {
public:
    KelObject() = default;
    KelObject(const KelObject&) = delete;  // an object is its identity
    KelObject& operator=(const KelObject&) = delete;
    virtual ~KelObject() = default;
};
