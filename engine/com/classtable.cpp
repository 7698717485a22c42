// Creating objects by class.
#include "engine/com/classtable.h"

#include "engine/com/status.h"

namespace engine::com {

namespace {
constinit ClassEntry* firstClass = nullptr;
constinit FailingClass* newestFailing = nullptr;
constinit thread_local std::int32_t initializations = 0;

const ClassEntry* findClass(REFCLSID clsid) noexcept {
    for (const ClassEntry* entry = firstClass; entry != nullptr; entry = entry->next) {
        if (entry->clsid == clsid) return entry;
    }
    return nullptr;
}
}  // namespace

bool registerClass(ClassEntry& entry) noexcept {
    entry.next = firstClass;
    firstClass = &entry;
    return true;
}

FailingClass::FailingClass(REFCLSID clsid, HRESULT status) noexcept
    : clsid_(clsid), status_(status), previous_(newestFailing) {
    newestFailing = this;
}

FailingClass::~FailingClass() {
    newestFailing = previous_;
}

const FailingClass* FailingClass::find(REFCLSID clsid) noexcept {
    const FailingClass* failing = newestFailing;
    while (failing != nullptr && failing->clsid_ != clsid) failing = failing->previous_;
    return failing;
}

}  // namespace engine::com

HRESULT CoInitialize(LPVOID) noexcept {
    return engine::com::initializations++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() noexcept {
    if (engine::com::initializations > 0) --engine::com::initializations;
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid,
                         LPVOID* object) noexcept {
    using engine::com::fail;
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr)
        return fail(CLASS_E_NOAGGREGATION, "Objects of this class cannot be part of another.");
    const engine::com::ClassEntry* entry = engine::com::findClass(clsid);
    if ((context & CLSCTX_INPROC_SERVER) == 0 || entry == nullptr) {
        return fail(REGDB_E_CLASSNOTREG, "The class is not registered.");
    }
    if (const auto* failing = engine::com::FailingClass::find(clsid)) {
        return fail(failing->status(), "The class cannot be created.");
    }
    return entry->create(iid, object);
}

HRESULT OleRun(IUnknown* object) noexcept {
    return object == nullptr ? E_INVALIDARG : S_OK;
}
