// Class objects of this process come before those of the registry.
#include "tests/component/platform/classes.h"

#include <stdexcept>

namespace component_test {
namespace {

// Lives inside its registration, whatever others count.
class ClassObject final : public IClassFactory {
public:
    ClassObject(REFCLSID classId, IUnknown* object) : object_(object) {
        (void)CoInitialize(nullptr);  // never undone, as the component's own
        const HRESULT status =
            CoRegisterClassObject(classId, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration_);
        if (FAILED(status)) throw std::runtime_error("the class could not be registered");
    }
    ClassObject(const ClassObject&) = delete;
    ClassObject& operator=(const ClassObject&) = delete;
    virtual ~ClassObject() { (void)CoRevokeClassObject(registration_); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        const bool isOurs = iid == IID_IUnknown || iid == IID_IClassFactory;
        *object = isOurs ? this : nullptr;
        return isOurs ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
        *object = nullptr;
        return object_ != nullptr ? object_->QueryInterface(iid, object) : REGDB_E_CLASSNOTREG;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    IUnknown* object_;  // null: creation fails
    DWORD registration_ = 0;
};

}  // namespace

struct FailingClass::State {
    ClassObject classObject;
};

FailingClass::FailingClass(REFCLSID classId) : state_(new State{{classId, nullptr}}) {}

FailingClass::~FailingClass() = default;

struct ClassReplacement::State {
    ClassObject classObject;
};

ClassReplacement::ClassReplacement(REFCLSID classId, IUnknown& object)
    : state_(new State{{classId, &object}}) {}

ClassReplacement::~ClassReplacement() = default;

}  // namespace component_test
