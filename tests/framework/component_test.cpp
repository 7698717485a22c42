#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/kelstring.h"
#include "environment.h"
#include "framework/component/componentstate.h"
#include "framework/component/detail/componentstate.h"
#include "framework/component/ikelcomponentcustomizer.h"
#include "framework/component/keldefaultclassfactory.h"
#include "framework/component/kelitemfactory.h"
#include "framework/component/kelstaticbasecomponent.h"
#include "framework/object/iptr.h"
#include "tests/object/fakehost.h"
#include "tests/object/testobject.h"

namespace {

constexpr KelClassId kShelfId{0x10, 1, 2, {3}};
constexpr KelClassId kSameBucketId{0x10 + 131, 1, 2, {3}};
constexpr KelClassId kHugeId{0x20, 1, 2, {3}};
constexpr KelClassId kUnknownId{0x10, 1, 2, {4}};

class Huge final : public kel::Implements<Huge, IKelShelf> {
public:
    static constexpr const char* kClassName = "Huge";
    Huge() { throw 42; }  // no std::exception, as an engine's may be none
};

// As a component does while it is loaded; nothing here is ever destroyed.
void loadComponent() {
    static const bool isLoaded = [] {
        static const KelTClassItemFactory<Shelf> replaced(&kShelfId, "an earlier one", nullptr);
        new KelTClassItemFactory<Shelf>(&kShelfId, "Shelf", "holds boxes");
        new KelTClassItemFactory<Shelf>(&kSameBucketId, "Neighbour", nullptr);
        new KelTClassItemFactory<Huge>(&kHugeId, "Huge", nullptr);
        KelDefaultClassFactory::instance().registerFactory(kUnknownId, nullptr);
        kel::setComponentIdentity({"shelves", "1.2.3.4", {0x99, 1, 2, {3}}});
        return true;
    }();
    (void)isLoaded;
    kel::defaultClassFactory = &KelDefaultClassFactory::instance();
}

class ErrorLog final : public kel::Implements<ErrorLog, IKelErrorService> {
public:
    static constexpr const char* kClassName = "ErrorLog";
    void report(const KelString& message, const std::int32_t& level, const char* operation) override {
        messages.emplace_back(message.view());
        EXPECT_EQ(level, 1);
        EXPECT_STREQ(operation, "");
        if (nested != nullptr) nested->selfTest(nullptr);
        if (throws) throw std::runtime_error("the service failed");
    }
    std::vector<std::u16string> messages;
    IKelCompInternal* nested = nullptr;
    bool throws = false;
};

class TestReceiver final : public kel::Implements<TestReceiver, IKelTestReceiver> {
public:
    static constexpr const char* kClassName = "TestReceiver";
    void receive(const KelClassId& testClass) override { classes.push_back(testClass.data1); }
    std::vector<std::uint32_t> classes;
};

class ComponentTest : public testing::Test {
protected:
    ComponentTest() { loadComponent(); }
    ~ComponentTest() override {
        kel::customizerHook = nullptr;
        kel::defaultClassFactory = nullptr;
        kel::testClassList().clear();
    }

    KelStaticBaseComponentFact factory_;
    IPtr<IKelComponent> component_{factory_.createComponent()};
    IKelCompInternal* internal_ = kel::queryInterface<IKelCompInternal>(component_.get());
};

TEST_F(ComponentTest, SaysWhoItIsAndAllItsObjectsAgree) {
    const IPtr<IKelComponent> other(factory_.createComponent());
    ASSERT_NE(other.get(), component_.get());
    auto* const otherInternal = kel::queryInterface<IKelCompInternal>(other.get());
    EXPECT_EQ(other->version(), "1.2.3.4");
    EXPECT_EQ(otherInternal->name(), "shelves");
    EXPECT_EQ(otherInternal->classId()->data1, 0x99U);
    EXPECT_STREQ(component_->className(), "KelStaticBaseComponent");
    EXPECT_EQ(internal_->reserved4(), nullptr);
    EXPECT_TRUE(internal_->reserved9());

    internal_->setContainerName("ours");
    EXPECT_EQ(otherInternal->containerName(), "ours");
    internal_->setBreakEnabled(false);
    EXPECT_FALSE(otherInternal->isBreakEnabled());
    internal_->setBreakEnabled(true);
    internal_->setContainerName("");

    KelClassDescription description;
    kel::describeClass(*component_, description);
    EXPECT_EQ(description.entries().count(), 0U) << "hidden";
}

TEST_F(ComponentTest, LinksItselfToTheHostAndStaysLinked) {
    struct Customizer final : IKelComponentCustomizer {
        bool start() override { return steps += "+", kel::hostCore == nullptr; }
        bool stop() override { return steps += "-", false; }
        std::string steps;
    } customizer;
    {
        FakeHost first;
        FakeHost host;
        kel::hostCore = nullptr;
        component_->initialize(&first);
        kel::customizerHook = &customizer;
        component_->initialize(&host);
        EXPECT_EQ(kel::hostCore, &host) << "each call replaces the host";
        component_->shutdown();
        EXPECT_EQ(kel::hostCore, &host);
        EXPECT_EQ(customizer.steps, "+-");
        const IPtr<IKelComponent> counted(component_.get());
        EXPECT_EQ(host.increments, 1);
        EXPECT_EQ(first.increments, 0);
    }
}

TEST_F(ComponentTest, MakesObjectsOfItsClasses) {
    IKelUnknown* object = nullptr;
    ASSERT_EQ(component_->createObject(kShelfId, &object), 1);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->refCount(), 0);
    const IPtr<IKelUnknown> shelf(object);
    EXPECT_NE(kel::queryInterface<IKelShelfV2>(object), nullptr);

    EXPECT_EQ(component_->createObject(kUnknownId, &object), 0) << "equal in its first part only";
    EXPECT_EQ(object, nullptr);
    object = shelf.get();
    EXPECT_EQ(component_->createObject(*internal_->classId(), &object), 0) << "the component is none of them";
    EXPECT_EQ(object, nullptr);
    object = shelf.get();
    EXPECT_EQ(KelDefaultClassFactory::instance().create(kUnknownId, &object), 0);
    EXPECT_EQ(object, shelf.get()) << "the class map leaves the output alone";
    EXPECT_EQ(component_->createObject(kHugeId, &object), 1) << "known, though none could be made";
    EXPECT_EQ(object, nullptr);
}

TEST_F(ComponentTest, EnumeratesEachClassOnce) {
    EXPECT_EQ(internal_->classCount(), 3);
    EXPECT_STREQ(internal_->classNameOf(kShelfId), "Shelf") << "the later registration counts";
    EXPECT_EQ(internal_->classNameOf(kUnknownId), nullptr);
    for (int round = 0; round < 2; ++round) {
        KelClassId id;
        std::set<std::uint32_t> seen;
        for (bool isThere = internal_->firstClass(&id); isThere; isThere = internal_->nextClass(&id)) {
            EXPECT_TRUE(seen.insert(id.data1).second);
        }
        EXPECT_EQ(seen, (std::set<std::uint32_t>{0x10, 0x10 + 131, 0x20}));
        EXPECT_FALSE(internal_->nextClass(&id)) << "past the end";
        EXPECT_TRUE(internal_->firstClass(&id)) << "left halfway, begun anew";
    }
}

TEST_F(ComponentTest, HasNoClassesWithoutAClassFactory) {
    kel::defaultClassFactory = nullptr;
    KelClassId id = kShelfId;
    IKelUnknown* object = component_.get();
    EXPECT_EQ(component_->createObject(kShelfId, &object), 0);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(internal_->classCount(), 0);
    EXPECT_FALSE(internal_->firstClass(&id));
    EXPECT_FALSE(internal_->nextClass(&id));
    EXPECT_EQ(internal_->classNameOf(kShelfId), nullptr);
    EXPECT_EQ(id, kShelfId);
}

TEST_F(ComponentTest, SelfTestReportsTheStatusAsACharacter) {
    internal_->selfTest(nullptr);  // no host: nothing to report to
    const IPtr<ErrorLog> errors(new ErrorLog);
    FakeHost host;
    internal_->selfTest(nullptr);
    host.offer<IKelErrorService>(*errors);
    errors->nested = internal_;
    const struct {
        std::int32_t status;
        std::u16string message;
    } kCases[] = {{0x41, u"A"}, {0x1234, u"4"}, {-1, u"\x00FF"}, {0x100, u""}};
    for (const auto& c : kCases) {
        errors->messages.clear();
        host.status = c.status;
        internal_->selfTest(nullptr);
        EXPECT_EQ(errors->messages, (std::vector<std::u16string>{u"Unable to get test service", c.message}));
    }
    errors->throws = true;
    EXPECT_THROW(internal_->selfTest(nullptr), std::runtime_error);
    errors->throws = false;
    errors->messages.clear();
    internal_->selfTest(nullptr);
    EXPECT_EQ(errors->messages.size(), 2U) << "a failed run does not block the next";
}

TEST_F(ComponentTest, SelfTestNamesItsTestClassesInOrder) {
    TestReceiver receiver;
    internal_->selfTest(&receiver);
    EXPECT_TRUE(receiver.classes.empty());
    kel::testClassList().append(kHugeId);
    kel::testClassList().append(kShelfId);
    internal_->selfTest(&receiver);
    EXPECT_EQ(receiver.classes, (std::vector<std::uint32_t>{0x20, 0x10}));
}

TEST_F(ComponentTest, TestClassesAreMadeAndNamedButNotEnumerated) {
    static constexpr KelClassId kTestId{0x40, 1, 2, {3}};
    constexpr auto kListing = KelItemFactory::Listing::SelfTest;
    static KelTClassItemFactory<Shelf> earlier(&kTestId, "an earlier one", nullptr, kListing);
    static KelTClassItemFactory<Shelf> replacement(&kTestId, "ShelfTest", nullptr, kListing);
    ASSERT_EQ(kel::testClassList().count(), 1U) << "registered twice, listed once";
    EXPECT_EQ(internal_->classCount(), 3);
    KelClassId id;
    for (bool more = internal_->firstClass(&id); more; more = internal_->nextClass(&id))
        EXPECT_NE(id, kTestId);
    EXPECT_STREQ(internal_->classNameOf(kTestId), "ShelfTest");
    IKelUnknown* object = nullptr;
    ASSERT_EQ(component_->createObject(kTestId, &object), 1);
    const IPtr<IKelUnknown> held(object);
}

TEST_F(ComponentTest, BreakFlagIsOffForExactlyZero) {
    const struct {
        const char* value;
        bool isEnabled;
    } kCases[] = {{"0", false}, {"", true}, {"00", true}, {"1", true}, {"false", true}, {nullptr, true}};
    for (const auto& c : kCases) {
        if (c.value == nullptr) {
            kel::test::unsetVariable("KEL_BREAK_ENABLED");
        } else {
            kel::test::setVariable("KEL_BREAK_ENABLED", c.value);
        }
        kel::detail::rereadEnvironment();
        EXPECT_EQ(internal_->isBreakEnabled(), c.isEnabled) << (c.value == nullptr ? "unset" : c.value);
    }
}

// The flag is read while the program is loaded, so another one is: the death test's, which starts anew.
TEST(BreakFlag, IsReadFromTheEnvironmentAtLoad) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    kel::test::setVariable("KEL_BREAK_ENABLED", "0");
    EXPECT_EXIT(std::_Exit(kel::isBreakEnabled() ? 1 : 0), testing::ExitedWithCode(0), "");
    kel::test::setVariable("KEL_BREAK_ENABLED", "00");
    EXPECT_EXIT(std::_Exit(kel::isBreakEnabled() ? 0 : 1), testing::ExitedWithCode(0), "");
    kel::test::unsetVariable("KEL_BREAK_ENABLED");
}

}  // namespace
