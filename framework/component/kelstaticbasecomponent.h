// The component object that a host gets. It has no state of its own: all component objects of a process share
// that of componentstate.h and framework/object/hostlink.h. Threads: as those say. The self-test guards
// against re-entry on its own thread only.
#pragma once

#include "framework/component/ikelcomponentfactory.h"
#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponent.h"
#include "framework/object/implements.h"

class KelStaticBaseComponent final
    : public kel::Implements<KelStaticBaseComponent, IKelComponent, IKelCompInternal> {
public:
    static constexpr const char* kClassName = "KelStaticBaseComponent";
    static constexpr bool kIsHidden = true;

    void initialize(IKelComponentManager* core) override;
    void shutdown() override;
    // An unknown class, and no class factory: writes null and returns 0.
    std::int32_t createObject(const KelClassId& classId, IKelUnknown** out) override;
    [[nodiscard]] const std::string& version() const override;

    [[nodiscard]] const KelClassId* classId() const override;
    [[nodiscard]] const std::string& name() const override;
    [[nodiscard]] std::int32_t classCount() const override;
    bool firstClass(KelClassId* id) override;
    bool nextClass(KelClassId* id) override;
    [[nodiscard]] const char* classNameOf(const KelClassId& id) const override;

    // Without a receiver: reports "Unable to get test service" to the host's error service, then the host's
    // test status as a message of one character, the status's low byte. A call during a self-test does
    // nothing.
    void selfTest(IKelTestReceiver* receiver) override;

    void setContainerName(const std::string& name) override;
    [[nodiscard]] const std::string& containerName() const override;
    void setBreakEnabled(bool on) override;
    [[nodiscard]] bool isBreakEnabled() const override;
};

// Makes KelStaticBaseComponent objects.

// Makes KelStaticBaseComponent objects.
class KelStaticBaseComponentFact final : public IKelComponentFactory {
public:
    IKelComponent* createComponent() override;
};
