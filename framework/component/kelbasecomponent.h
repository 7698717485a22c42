// The base for a component whose objects have a state of their own: identity, classes, self-tests, container
// name and break flag belong to the object, so that two components in one library, or two objects of one
// component, differ. (KelStaticBaseComponent keeps all of these for the process.) It has the same two
// interfaces, in the same order and with the same positions.
//
//     class Shelves final : public KelBaseComponent {
//     public:
//         Shelves() : KelBaseComponent({"shelves", "1.0.0.0", kShelvesId}) {
//             addClass<Shelf>(kShelfId, "Shelf");
//             addClass(kBoxId, "Box", [this] { return new Box(*this); });
//         }
//     };
//
// The link to the host stays one for the library (framework/object/hostlink.h): counts must all go through
// the same host, and the basic types find their services through it.
//
// Counts start at 0. Threads: set up in the constructor, before other threads come in; createObject and what
// only reads may then run together, as far as the makers allow. The enumeration has one cursor an object, the
// self-test guards against re-entry on its own thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "framework/object/hostlink.h"
#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponent.h"
#include "framework/object/implements.h"
#include "framework/object/iptr.h"
#include "framework/object/onebasedlist.h"

class IKelComponentCustomizer;

class KelBaseComponent : public kel::Implements<KelBaseComponent, IKelComponent, IKelCompInternal> {
public:
    static constexpr const char* kClassName = "KelBaseComponent";
    static constexpr bool kIsHidden = true;

    // A new object with count 0, which the caller holds first. It may keep the component alive by a reference
    // of its own. std::bad_alloc is reported as "no memory"; other exceptions reach the caller of
    // createObject.
    using Maker = std::function<IKelUnknown*()>;

    // The customizer is borrowed, and started and stopped with the component; null for none.
    explicit KelBaseComponent(kel::ComponentIdentity identity, IKelComponentCustomizer* customizer = nullptr);

    // --- IKelComponent. A derived class that overrides the first two calls them, too. ----------------------
    // The first component of a library also states the library's identity, unless the library has stated one:
    // it is what the host's translator service goes by.
    void initialize(IKelComponentManager* core) override;
    void shutdown() override;
    // A test class is made, too. An unknown class: writes null and returns 0.
    std::int32_t createObject(const KelClassId& classId, IKelUnknown** out) override;
    [[nodiscard]] const std::string& version() const override;

    // --- IKelCompInternal. What it returns by reference or pointer lives as long as the component.
    // ----------
    [[nodiscard]] const KelClassId* classId() const override;
    [[nodiscard]] const std::string& name() const override;
    // In the order of adding, without the test classes.
    [[nodiscard]] std::int32_t classCount() const override;
    bool firstClass(KelClassId* id) override;
    bool nextClass(KelClassId* id) override;  // false, too, before any firstClass
    [[nodiscard]] const char* classNameOf(const KelClassId& id) const override;  // of a test class, too
    void selfTest(IKelTestReceiver* receiver) override;
    // The name counts for lookupService and service of this object. The basic types look up for the whole
    // library: a component that is alone in its library overrides this and passes the name to
    // kel::setContainerName, too.
    void setContainerName(const std::string& name) override;
    [[nodiscard]] const std::string& containerName() const override;
    void setBreakEnabled(bool on) override;
    [[nodiscard]] bool isBreakEnabled() const override;  // at first as KEL_BREAK_ENABLED was at load

    // --- Services
    // ------------------------------------------------------------------------------------------- As
    // kel::lookupService, with this object's container. 1: found, *out is borrowed.
    [[nodiscard]] std::int32_t lookupService(const std::string& serviceName, void** out) const;
    // Null without a host, and when it has no such service.
    template <class T>
    [[nodiscard]] IPtr<T> service() const {
        void* found = nullptr;
        (void)lookupService(T::interfaceName(), &found);  // an absent service is a null pointer
        return IPtr<T>(static_cast<T*>(found));
    }

protected:
    ~KelBaseComponent() override;  // by the last release

    // A class that createObject makes. The name is static text. An identifier that was added before gets the
    // new name and maker, and keeps its position.
    void addClass(const KelClassId& id, const char* name, Maker maker);
    template <class T>
    void addClass(const KelClassId& id, const char* name) {
        addClass(id, name, [] { return new T; });
    }

    // A class with the interface IKelSelfTest. selfTest names it; the enumeration does not.
    void addSelfTest(const KelClassId& id, const char* name, Maker maker);
    template <class T>
    void addSelfTest(const KelClassId& id, const char* name) {
        addSelfTest(id, name, [] { return new T; });
    }

private:
    struct ClassEntry {
        KelClassId id;
        const char* name;
        Maker maker;
    };
    using Classes = std::vector<ClassEntry>;  // a component has a handful

    static void put(Classes& classes, const KelClassId& id, const char* name, Maker maker);
    [[nodiscard]] const ClassEntry* find(const KelClassId& id) const;

    kel::ComponentIdentity identity_;
    IKelComponentCustomizer* customizer_;
    Classes classes_;
    Classes testMakers_;
    kel::OneBasedList<KelClassId> testClasses_;
    std::size_t cursor_;  // the class that nextClass gives; at the end: none
    std::string containerName_;
    bool isBreakEnabled_;
    bool isSelfTestRunning_ = false;
};
