// The host path from outside: a component manager of this program's own, the library found at run time.
#include <cstdint>
#include <string>

#include <dlfcn.h>

#include "expect.h"
#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponent.h"
#include "framework/object/ikelcomponentmanager.h"
#include "framework/object/implements.h"
#include "framework/object/iptr.h"
#include "msxml_parser/comerror.h"
#include "msxml_parser/ikeldomxml.h"

namespace {

class SmallManager final : public kel::Implements<SmallManager, IKelComponentManager> {
public:
    static constexpr const char* kClassName = "SmallManager";

    std::int32_t lookupService(const std::string& name, void**) override {
        askedForTranslator = askedForTranslator || name == "IKelTranslatorService";
        return 0;
    }
    std::int32_t testStatus() override { return 0; }
    void incrementCount(std::int32_t* count) override { ++*count, ++counted; }
    bool decrementCount(std::int32_t* count) override { return --*count == 0; }
    IKelComponentContainer* container(const std::string&, std::int32_t) override { return nullptr; }

    bool askedForTranslator = false;
    int counted = 0;
};

SmallManager& manager() {
    static auto& manager = *new SmallManager;  // the component points at it until the process ends
    return manager;
}

using EntryPointFunction = int (*)(std::uint32_t*, IKelComponent**);

EntryPointFunction findEntryPoint(const char* library) {
    void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    return handle != nullptr ? reinterpret_cast<EntryPointFunction>(dlsym(handle, "EntryPoint")) : nullptr;
}

void useParser(IKelComponent& component, const KelClassId& domClass) {
    IKelUnknown* created = nullptr;
    expect(component.createObject(domClass, &created) == 1 && created != nullptr,
           "the DOM class creates an object");
    void* part = nullptr;
    created->queryInterface("IKelDOMXmlV2", &part, false);
    expect(part != nullptr, "which has the interface IKelDOMXmlV2");
    const IPtr<IKelDOMXmlV2> parser(static_cast<IKelDOMXmlV2*>(part));
    expect(manager().counted > 0, "the host counts");

    expect(!parser->loadFromFile(u"no such file.xml"), "a missing file is rejected");
    const KelString& message = parser->getError()->getMessage();
    expect(message ==
               u"Error while reading no such file.xml : The file doesn't exist or you don't have read rights "
               u"to it",
           "with the message for it");
    expect(manager().askedForTranslator, "the host is asked for a translator");

    bool caught = false;
    try {
        KelString text;
        parser->saveToString(text);
    } catch (const _com_error&) {
        caught = true;
    }
    expect(caught, "_com_error reaches a program that is not linked to the library");
}

}  // namespace

int main(int argc, char** argv) {
    const EntryPointFunction entryPoint = argc == 2 ? findEntryPoint(argv[1]) : nullptr;
    expect(entryPoint != nullptr, "the library is loaded and exports EntryPoint");
    if (entryPoint == nullptr) return 1;

    std::uint32_t version = 7;
    expect(entryPoint(&version, nullptr) == 0 && version == 7,
           "without an address for it no component is made");
    IKelComponent* made = nullptr;
    expect(entryPoint(&version, &made) == 1 && version == 100 && made != nullptr,
           "EntryPoint makes a component");
    expect(made->refCount() == 0, "which has no reference yet");
    const IPtr<IKelComponent> component(made);
    component->initialize(&manager());
    expect(component->version() == EXPECTED_VERSION, "it states its version");

    auto* const inside = kel::queryInterface<IKelCompInternal>(component.get());
    expect(inside != nullptr && inside->classCount() == 2, "it makes two classes");
    KelClassId id;
    for (bool more = inside->firstClass(&id); more; more = inside->nextClass(&id)) {
        if (std::string(inside->classNameOf(id)) == "MSDOMXml") useParser(*component, id);
    }
    expect(manager().counted > 2, "the DOM class was among them");
    return failures == 0 ? 0 : 1;
}
