// The classes that CoCreateInstance can create. A library of the engine registers its classes while the
// program or the shared library loads; tests take classes away or make their creation fail. Threads:
// registration happens before threads start; failures on request are for tests that create objects on one
// thread.
#pragma once

#include "engine/com/com.h"

namespace engine::com {

// One registered class; a static object of the library that offers it, never destroyed while it is
// registered.
struct ClassEntry {
    const CLSID& clsid;
    // As CoCreateInstance; the out-parameter is cleared before.
    HRESULT (*create)(REFIID iid, void** object) noexcept = nullptr;
    ClassEntry* next = nullptr;
};

// Adds a class for the life of the process. Returns true, so that a static can be initialised by it.
bool registerClass(ClassEntry& entry) noexcept;

// While it lives, creating the class fails with `status`. Refusals may nest; the newest for a class decides.
class ClassRefusal final {
public:
    explicit ClassRefusal(REFCLSID clsid, HRESULT status = REGDB_E_CLASSNOTREG) noexcept;
    ~ClassRefusal();
    ClassRefusal(const ClassRefusal&) = delete;
    ClassRefusal& operator=(const ClassRefusal&) = delete;

    [[nodiscard]] static const ClassRefusal* find(REFCLSID clsid) noexcept;
    [[nodiscard]] HRESULT status() const noexcept { return status_; }

private:
    CLSID clsid_;
    HRESULT status_;
    ClassRefusal* previous_;
};

}  // namespace engine::com
