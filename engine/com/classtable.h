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

// While it lives, creating the class fails with `status`. They may nest; the newest for a class decides.
class FailingClass final {
public:
    explicit FailingClass(REFCLSID clsid, HRESULT status = REGDB_E_CLASSNOTREG) noexcept;
    ~FailingClass();
    FailingClass(const FailingClass&) = delete;
    FailingClass& operator=(const FailingClass&) = delete;

    [[nodiscard]] static const FailingClass* find(REFCLSID clsid) noexcept;
    [[nodiscard]] HRESULT status() const noexcept { return status_; }

private:
    CLSID clsid_;
    HRESULT status_;
    FailingClass* previous_;
};

}  // namespace engine::com
