// The classes of this component. Item factories register while the component is loaded; the map only grows.
// Threads: filled before other threads come in and only read afterwards, but for the one enumeration cursor:
// enumerations from two threads disturb each other.
#pragma once

#include "framework/component/ikelclassfactory.h"
#include "framework/object/chainedtable.h"

class KelItemFactory;

class KelDefaultClassFactory final : public IKelClassFactory {
public:
    // Made on first use, never destroyed.
    [[nodiscard]] static KelDefaultClassFactory& instance();

    // Borrows the item factory for good. Replaces an earlier one of the same identifier; null registers
    // nothing.
    void registerFactory(const KelClassId& id, KelItemFactory* factory);

    // The same for a class of the self-test: it is made and named like any other, but neither counted nor
    // enumerated. kel::testClassList lists it.
    void registerTestFactory(const KelClassId& id, KelItemFactory* factory);

    std::int32_t create(const KelClassId& id, IKelUnknown** out) override;
    [[nodiscard]] std::int32_t classCount() const override;
    bool firstClass(KelClassId* id) override;
    bool nextClass(KelClassId* id) override;  // false, too, before any firstClass
    [[nodiscard]] const char* classNameOf(const KelClassId& id) const override;

private:
    struct FirstPart {
        [[nodiscard]] std::uint32_t operator()(const KelClassId& id) const noexcept { return id.data1; }
    };
    using ClassMap = kel::ChainedTable<KelClassId, KelItemFactory*, FirstPart>;

    KelDefaultClassFactory() = default;
    [[nodiscard]] const ClassMap::Entry* find(const KelClassId& id) const;
    bool moveTo(const ClassMap::Entry* entry, KelClassId* id);

    ClassMap classes_{99};
    ClassMap testClasses_{2};
    const ClassMap::Entry* cursor_ = nullptr;
};
