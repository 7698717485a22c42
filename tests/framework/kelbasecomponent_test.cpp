// Components whose objects have a state of their own, and the entry that hands them out.
#include "framework/component/kelbasecomponent.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <vector>

#include "framework/component/componententry.h"
#include "framework/component/ikelcomponentcustomizer.h"
#include "framework/component/kelstaticbasecomponent.h"
#include "framework/object/ikelselftest.h"
#include "framework/object/sptr.h"
#include "tests/object/fakehost.h"
#include "tests/object/testobject.h"

namespace {

constexpr KelClassId kShelfId{0x10, 1, 2, {3}};
constexpr KelClassId kHugeId{0x20, 1, 2, {3}};
constexpr KelClassId kSickId{0x30, 1, 2, {3}};
constexpr KelClassId kTestId{0x40, 1, 2, {3}};

class Passing final : public kel::Implements<Passing, IKelSelfTest> {
public:
    static constexpr const char* kClassName = "Passing";
    bool run(std::string& reason) override { return reason.empty(); }
};

class Shelves final : public KelBaseComponent {
public:
    explicit Shelves(const char* name, IKelComponentCustomizer* customizer = nullptr)
        : KelBaseComponent({name, "1.2.3.4", {0x99, 1, 2, {3}}}, customizer) {
        addClass<Shelf>(kHugeId, "an earlier one");
        addClass(kShelfId, "Shelf", [this] { return new Shelf(&isShelfDead); });
        addClass(kHugeId, "Huge", []() -> IKelUnknown* { throw std::bad_alloc(); });
        addClass(kSickId, "Sick", []() -> IKelUnknown* { throw std::runtime_error("sick"); });
        addSelfTest<Passing>(kTestId, "an earlier one");
        addSelfTest<Passing>(kTestId, "Passing");
    }
    bool isShelfDead = false;
};

std::vector<std::uint32_t> classesOf(IKelCompInternal& component) {
    std::vector<std::uint32_t> found;
    KelClassId id;
    for (bool more = component.firstClass(&id); more; more = component.nextClass(&id))
        found.push_back(id.data1);
    return found;
}

TEST(BaseComponent, EachObjectHasAStateOfItsOwn) {
    const IPtr<Shelves> one(new Shelves("one"));
    const IPtr<Shelves> two(new Shelves("two"));
    one->setContainerName("ours");
    one->setBreakEnabled(false);
    two->setBreakEnabled(true);
    EXPECT_EQ(one->name() + two->name(), "onetwo");
    EXPECT_EQ(two->containerName(), "");
    EXPECT_EQ(kel::containerName(), "") << "the library's own stays";
    EXPECT_FALSE(one->isBreakEnabled());

    KelClassId id;
    ASSERT_TRUE(one->firstClass(&id));
    EXPECT_EQ(classesOf(*two), (std::vector<std::uint32_t>{0x20, 0x10, 0x30})) << "added twice, listed once";
    ASSERT_TRUE(one->nextClass(&id));
    EXPECT_EQ(id, kShelfId) << "the other's enumeration moved this one's cursor";
    EXPECT_EQ(one->classCount(), 3);
}

TEST(BaseComponent, EnumerationEndsAndLeavesTheIdentifierAlone) {
    const IPtr<Shelves> component(new Shelves("shelves"));
    KelClassId id = kTestId;
    EXPECT_FALSE(component->nextClass(&id)) << "before the first";
    (void)classesOf(*component);
    EXPECT_FALSE(component->nextClass(&id));
    EXPECT_EQ(id, kTestId);
    EXPECT_TRUE(component->firstClass(&id));
}

TEST(BaseComponent, MakesItsClassesAndReportsTheRestAsUnknown) {
    const IPtr<Shelves> component(new Shelves("shelves"));
    IKelUnknown* object = component.get();
    ASSERT_EQ(component->createObject(kShelfId, &object), 1);
    EXPECT_EQ(object->refCount(), 0);
    { const IPtr<IKelUnknown> held(object); }
    EXPECT_TRUE(component->isShelfDead) << "the maker had the component at hand";

    EXPECT_EQ(component->createObject(*component->classId(), &object), 0);
    EXPECT_EQ(object, nullptr);
    object = component.get();
    EXPECT_EQ(component->createObject(kHugeId, &object), 1) << "known, though there was no memory";
    EXPECT_EQ(object, nullptr);
    EXPECT_STREQ(component->classNameOf(kHugeId), "Huge") << "the later one counts";
    object = component.get();
    EXPECT_THROW(component->createObject(kSickId, &object), std::runtime_error);
    EXPECT_EQ(object, nullptr);
}

class Receiver final : public kel::Implements<Receiver, IKelTestReceiver> {
public:
    static constexpr const char* kClassName = "Receiver";
    void receive(const KelClassId& id) override {
        received.push_back(id);
        nested->selfTest(this);
    }
    std::vector<KelClassId> received;
    IKelCompInternal* nested = nullptr;
};

TEST(BaseComponent, SelfTestsAreNamedAndMadeButNotEnumerated) {
    const IPtr<Shelves> component(new Shelves("shelves"));
    const IPtr<Receiver> receiver(new Receiver);
    receiver->nested = component.get();
    component->selfTest(receiver.get());
    ASSERT_EQ(receiver->received, std::vector<KelClassId>{kTestId}) << "once, and no run within a run";
    EXPECT_STREQ(component->classNameOf(kTestId), "Passing");
    IKelUnknown* object = nullptr;
    ASSERT_EQ(component->createObject(kTestId, &object), 1);
    const IPtr<IKelSelfTest> test(kel::queryInterface<IKelSelfTest>(object));
    std::string reason;
    EXPECT_TRUE(test->run(reason));
}

TEST(BaseComponent, LooksServicesUpInItsOwnContainer) {
    const IPtr<Shelves> component(new Shelves("shelves"));
    EXPECT_FALSE(component->service<IKelShelf>()) << "no host";
    const IPtr<Shelf> ofTheHost(new Shelf);
    const IPtr<Shelf> contained(new Shelf);
    FakeHost host;
    host.offer<IKelShelf>(*ofTheHost);
    host.named.offer<IKelShelf>(*contained);
    EXPECT_EQ(component->service<IKelShelf>().get(), ofTheHost.get());
    component->setContainerName("ours");
    EXPECT_EQ(component->service<IKelShelf>().get(), contained.get());
    EXPECT_EQ(SPtr<IKelShelf>().get(), ofTheHost.get()) << "the library's lookups do not follow";
}

TEST(BaseComponent, LinksTheLibraryAndNamesItOnce) {
    struct Customizer final : IKelComponentCustomizer {
        bool start() override { return steps += kel::hostCore != nullptr ? "+" : "?", true; }
        bool stop() override { return steps += "-", true; }
        std::string steps;
    } customizer;
    const kel::ComponentIdentity before = kel::componentIdentity();
    kel::setComponentIdentity({});
    {
        FakeHost host;
        kel::hostCore = nullptr;
        const IPtr<Shelves> one(new Shelves("one", &customizer));
        const IPtr<Shelves> two(new Shelves("two"));
        one->initialize(&host);
        two->initialize(&host);
        EXPECT_EQ(kel::hostCore, &host);
        EXPECT_EQ(kel::componentIdentity().name, "one") << "the first one speaks for the library";
        one->shutdown();
        EXPECT_EQ(customizer.steps, "+-");
    }
    kel::setComponentIdentity(before);
}

// A host drives a component through its two interfaces and cannot know which base it is built on.
TEST(BaseComponent, LooksLikeTheStaticBase) {
    const IPtr<IKelComponent> ours(new Shelves("shelves"));
    const IPtr<IKelComponent> theirs(new KelStaticBaseComponent);
    for (IKelComponent* const component : {ours.get(), theirs.get()}) {
        SCOPED_TRACE(component->className());
        void* part = nullptr;
        for (const char* const name :
             {"IKelComponent", "IKelCompInternal", "IKelUnknown", component->className()}) {
            component->queryInterface(name, &part, false);
            EXPECT_NE(part, nullptr) << name;
        }
        KelClassDescription description;
        kel::describeClass(*component, description);
        EXPECT_EQ(description.entries().count(), 0U) << "hidden";
    }
    EXPECT_STREQ(ours->className(), "KelBaseComponent");
}

TEST(Entry, HandsOutAComponentOrClearsAndNeverThrows) {
    std::uint32_t version = 7;
    IKelComponent* component = nullptr;
    const auto make = [] { return new Shelves("shelves"); };
    EXPECT_EQ(kel::enterComponent(&version, nullptr, make), 0);
    EXPECT_EQ(version, 7U) << "nothing is written";
    ASSERT_EQ(kel::enterComponent(&version, &component, make), 1);
    EXPECT_EQ(version, 100U);
    EXPECT_EQ(component->refCount(), 0);
    const IPtr<IKelComponent> held(component);
    EXPECT_EQ(kel::enterComponent(&version, &component, []() -> Shelves* { throw 1; }), 0);
    EXPECT_EQ(component, nullptr);
    EXPECT_EQ(version, 0U);
    EXPECT_EQ(kel::enterComponent(&version, &component, []() -> Shelves* { return nullptr; }), 0);
    EXPECT_EQ(version, 0U);
}

}  // namespace
