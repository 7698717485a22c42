#include "tests/component/platform/classes.h"

#include "engine/com/classtable.h"

namespace component_test {

struct FailingClass::State {
    engine::com::FailingClass failing;
};

FailingClass::FailingClass(REFCLSID classId) : state_(new State{engine::com::FailingClass(classId)}) {}

FailingClass::~FailingClass() = default;

namespace {

IUnknown* replacement = nullptr;
CLSID replacedClass;

// Stands in front of the engine's own entry, which it asks while nothing is replaced.
HRESULT createReplacement(REFIID iid, void** object) noexcept;
engine::com::ClassEntry ourEntry{replacedClass, createReplacement};

HRESULT createReplacement(REFIID iid, void** object) noexcept {
    if (replacement != nullptr) return replacement->QueryInterface(iid, object);
    const engine::com::ClassEntry* entry = ourEntry.next;
    while (entry->clsid != replacedClass) entry = entry->next;
    return entry->create(iid, object);
}

}  // namespace

struct ClassReplacement::State {};

ClassReplacement::ClassReplacement(REFCLSID classId, IUnknown& object) {
    replacedClass = classId;
    replacement = &object;
    [[maybe_unused]] static const bool isRegistered = engine::com::registerClass(ourEntry);
}

ClassReplacement::~ClassReplacement() {
    replacement = nullptr;
}

}  // namespace component_test
