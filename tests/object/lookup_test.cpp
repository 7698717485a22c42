#include <gtest/gtest.h>

#include "tests/object/fakehost.h"
#include "tests/object/testobject.h"

namespace {

class Hidden final : public kel::Implements<Hidden, IKelShelf> {
public:
    static constexpr const char* kClassName = "Hidden";
    static constexpr bool kIsHidden = true;
};

class IKelBox : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelBox"; }
    virtual int volume() { return 3; }
};

// Its class name is also the name of an interface: the class comes first.
class Shadow final : public kel::Implements<Shadow, IKelShelf, IKelBox> {
public:
    static constexpr const char* kClassName = "IKelBox";
};

// Has been given IKelBox after its first release.
class Grown final : public kel::Implements<Grown, IKelShelf>, public virtual IKelBox {
public:
    static constexpr const char* kClassName = "Grown";
    using Later = kel::InterfaceList<IKelBox>;
};

class HostPart final : public kel::Implements<HostPart, IKelShelf, IKelComponentContainer, IKelShelfV2> {
public:
    static constexpr const char* kClassName = "HostPart";
    std::int32_t lookupService(const std::string&, void**) override { return 0; }
};

TEST(Lookup, HandsOutThePartThatHasExactlyThisName) {
    Shelf shelf;
    IKelUnknown* const unknown = static_cast<IKelShelfV2*>(&shelf);
    const struct {
        const char* name;
        void* part;
    } kCases[] = {
        {"Shelf", &shelf},
        {"IKelUnknown", static_cast<IKelUnknown*>(&shelf)},
        {"IKelShelf", static_cast<IKelShelf*>(&shelf)},
        {"IKelShelfV2", static_cast<IKelShelfV2*>(&shelf)},
        {"ikelshelfv2", nullptr},
        {"IKelShelfV", nullptr},
        {"IKelShelfV22", nullptr},
        {" IKelShelf", nullptr},
        {"", nullptr},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.name);
        for (const bool flag : {false, true}) {
            void* out = &shelf;
            unknown->queryInterface(c.name, &out, flag);
            EXPECT_EQ(out, c.part);
        }
    }
    EXPECT_EQ(shelf.refCount(), 0) << "a lookup adds no reference";
    EXPECT_STREQ(unknown->className(), "Shelf");

    Shadow shadow;
    void* out = nullptr;
    shadow.queryInterface("IKelBox", &out, false);
    EXPECT_EQ(out, static_cast<void*>(&shadow));
    EXPECT_NE(out, static_cast<void*>(static_cast<IKelBox*>(&shadow)));
}

TEST(Lookup, TypedFormConvertsAndTakesNull) {
    Shelf shelf;
    IKelUnknown* const unknown = &shelf;
    EXPECT_EQ(kel::queryInterface<IKelShelfV2>(unknown), &shelf);
    EXPECT_EQ(kel::queryInterface<Shelf>(unknown), &shelf);
    EXPECT_EQ(kel::queryInterface<IKelComponentManager>(unknown), nullptr);
    EXPECT_EQ(kel::queryInterface<IKelShelf>(nullptr), nullptr);
}

void expectEntry(const KelClassEntry* entry, const char* name, KelClassEntryKind kind, const char* owner) {
    ASSERT_NE(entry, nullptr) << name;
    EXPECT_EQ(entry->name, name);
    EXPECT_EQ(entry->kind, kind);
    EXPECT_EQ(entry->owner, owner);
}

TEST(ClassDescription, ListsTheClassThenItsInterfacesFromNumberOne) {
    Shelf shelf;
    KelClassDescription description;
    kel::describeClass(shelf, description);
    const auto& entries = description.entries();
    ASSERT_EQ(entries.count(), 3U);
    expectEntry(entries.at(1), "Shelf", KelClassEntryKind::Class, "");
    expectEntry(entries.at(2), "IKelShelf", KelClassEntryKind::Interface, "Shelf");
    expectEntry(entries.at(3), "IKelShelfV2", KelClassEntryKind::Interface, "Shelf");
    EXPECT_EQ(entries.at(0), nullptr);
    EXPECT_EQ(entries.at(4), nullptr);
    ASSERT_EQ(description.classes().count(), 1U);
    expectEntry(description.classes().at(1), "Shelf", KelClassEntryKind::Class, "");
    EXPECT_FALSE(description.isComplete());

    Shadow second;  // a second class belongs to the one described before it
    kel::describeClass(second, description);
    expectEntry(entries.at(4), "IKelBox", KelClassEntryKind::Class, "Shelf");
    expectEntry(entries.at(5), "IKelShelf", KelClassEntryKind::Interface, "IKelBox");
}

TEST(ClassDescription, LeavesOutWhatTheClassWasGivenLater) {
    Grown grown;
    EXPECT_EQ(kel::queryInterface<IKelBox>(&grown), static_cast<IKelBox*>(&grown));
    EXPECT_EQ(kel::queryInterface<IKelShelf>(&grown), static_cast<IKelShelf*>(&grown));
    EXPECT_EQ(kel::queryInterface<IKelShelfV2>(&grown), nullptr);
    KelClassDescription description;
    kel::describeClass(grown, description);
    ASSERT_EQ(description.entries().count(), 2U);
    expectEntry(description.entries().at(2), "IKelShelf", KelClassEntryKind::Interface, "Grown");
}

TEST(ClassDescription, StaysEmptyForHiddenClassesAndParts_OfTheHost) {
    Hidden hidden;
    KelClassDescription ofHidden;
    kel::describeClass(hidden, ofHidden);
    EXPECT_EQ(ofHidden.entries().count(), 0U);
    EXPECT_FALSE(ofHidden.isComplete());

    HostPart part;  // an interface follows the one that stops: it must not reappear
    KelClassDescription ofPart;
    kel::describeClass(part, ofPart);
    EXPECT_TRUE(ofPart.isComplete());
    EXPECT_EQ(ofPart.entries().count(), 0U);
    EXPECT_EQ(ofPart.classes().count(), 0U);

    Shelf shelf;
    KelClassDescription withStopName;
    withStopName.stopNames().insert("IKelShelfV2");
    kel::describeClass(shelf, withStopName);
    EXPECT_TRUE(withStopName.isComplete());
    EXPECT_EQ(withStopName.entries().count(), 0U);
    for (const char* const name : {"IKelComponent", "IKelComponentManager", "IKelComponentLoader",
                                   "IKelComponentContainer", "OxaComponentManager"}) {
        EXPECT_TRUE(withStopName.stopNames().contains(name)) << name;
    }
}

TEST(ClassDescription, FillsAnIdentityOnceInsteadOfListing) {
    kel::setComponentIdentity({"shelves", "1.0", {1, 2, 3, {4}}});
    kel::setContainerName("ours");
    Shelf shelf;
    KelComponentIdentity identity;
    KelClassDescription description(&identity);
    kel::describeClass(shelf, description);
    ASSERT_NE(identity.componentName, nullptr);
    EXPECT_EQ(*identity.componentName, "shelves");
    EXPECT_EQ(*identity.containerName, "ours");
    EXPECT_EQ(identity.classId, (KelClassId{1, 2, 3, {4}}));
    EXPECT_EQ(description.entries().count(), 0U);

    const std::string named = "another";
    KelComponentIdentity taken{&named, nullptr, {}};
    KelClassDescription again(&taken);
    kel::describeClass(shelf, again);
    EXPECT_EQ(taken.componentName, &named);
    EXPECT_EQ(taken.containerName, nullptr);
    kel::detail::resetHostLink();
}

}  // namespace
