// The library's outer surface and the names of its objects.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "KelBasicTypes/message.h"
#include "framework/component/componentstate.h"
#include "framework/component/ikelcomponentfactory.h"
#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponent.h"
#include "framework/object/ikelselftest.h"
#include "framework/object/implements.h"
#include "framework/object/kelweakref.h"
#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/engineclasses.h"
#include "tests/component/fixture.h"

namespace {

using namespace component_test;

constexpr KelClassId kDomId{0xA915F25B, 0x7386, 0x4143, {0xBB, 0x88, 0xD1, 0x1C, 0xC2, 0xE6, 0x9F, 0xC7}};
constexpr KelClassId kSaxId{0xDFB612BD, 0x5865, 0x4067, {0x97, 0xC1, 0x3F, 0xE4, 0xA7, 0xF4, 0x9A, 0x86}};
constexpr KelClassId kComponentId{
    0x88BC5A8E, 0xCC38, 0x4C51, {0xB3, 0xF1, 0x90, 0x80, 0x05, 0x66, 0xE0, 0xDF}};

IPtr<IKelComponent> enter() {
    std::uint32_t version = 0;
    IKelComponent* component = nullptr;
    EXPECT_EQ(EntryPoint(&version, &component), 1);
    EXPECT_EQ(version, 100u);
    EXPECT_EQ(component->refCount(), 0);
    return IPtr<IKelComponent>(component);
}

class FailingFactory final : public IKelComponentFactory {
public:
    IKelComponent* createComponent() override { throw 1; }
};

TEST(Entry, WritesNothingOrClearsWhenItFails) {
    std::uint32_t version = 7;
    auto* const untouched = reinterpret_cast<IKelComponent*>(&version);
    IKelComponent* component = untouched;
    EXPECT_EQ(EntryPoint(&version, nullptr), 0);
    FailingFactory failing;
    IKelComponentFactory* const factory = std::exchange(kel::componentFactory, nullptr);
    EXPECT_EQ(EntryPoint(&version, &component), 0);
    EXPECT_EQ(version, 7u);
    EXPECT_EQ(component, untouched);
    kel::componentFactory = &failing;
    EXPECT_EQ(EntryPoint(&version, &component), 0);
    kel::componentFactory = factory;
    EXPECT_EQ(version, 0u);
    EXPECT_EQ(component, nullptr);
}

TEST(Entry, EveryComponentKnowsTheTwoClasses) {
    const IPtr<IKelComponent> component = enter();
    const IPtr<IKelComponent> other = enter();
    EXPECT_NE(component.get(), other.get());
    EXPECT_EQ(component->version(), "6.3.0.0");
    auto* const internals = kel::queryInterface<IKelCompInternal>(component.get());
    ASSERT_NE(internals, nullptr);
    EXPECT_EQ(internals->name(), "msxml_parser");
    EXPECT_EQ(*internals->classId(), kComponentId);
    EXPECT_EQ(internals->classCount(), 2);
    KelClassId first;
    KelClassId second;
    ASSERT_TRUE(internals->firstClass(&first));
    ASSERT_TRUE(internals->nextClass(&second));
    EXPECT_FALSE(internals->nextClass(&first));
    EXPECT_TRUE((first == kDomId && second == kSaxId) || (first == kSaxId && second == kDomId));
    EXPECT_STREQ(internals->classNameOf(kDomId), "MSDOMXml");
    EXPECT_STREQ(internals->classNameOf(kSaxId), "MSSAXXml");
    EXPECT_EQ(internals->classNameOf(kComponentId), nullptr);
}

TEST(Entry, CreatesParsersByClassIdentifier) {
    const IPtr<IKelComponent> component = enter();
    IKelUnknown* made = nullptr;
    ASSERT_EQ(component->createObject(kDomId, &made), 1);
    EXPECT_EQ(made->refCount(), 0);
    const DomParser dom(kel::queryInterface<IKelDOMXmlV2>(made));
    EXPECT_TRUE(dom->loadFromString(wide("<a/>")));
    ASSERT_EQ(component->createObject(kSaxId, &made), 1);
    const SaxParser sax(kel::queryInterface<IKelSAXXmlV2>(made));
    EXPECT_TRUE(sax);
    EXPECT_EQ(component->createObject(kComponentId, &made), 0);
}

class SelfTestRunner final : public kel::Implements<SelfTestRunner, IKelTestReceiver> {
public:
    static constexpr const char* kClassName = "SelfTestRunner";
    explicit SelfTestRunner(IKelComponent& component) : component_(component) {}
    void receive(const KelClassId& id) override {
        IKelUnknown* made = nullptr;
        ASSERT_EQ(component_.createObject(id, &made), 1);
        const IPtr<IKelSelfTest> test(kel::queryInterface<IKelSelfTest>(made));
        ASSERT_TRUE(test);
        std::string reason;
        EXPECT_TRUE(test->run(reason)) << reason;
        EXPECT_EQ(reason, "");
        names.push_back(kel::queryInterface<IKelCompInternal>(&component_)->classNameOf(id));
    }
    std::vector<std::string> names;

private:
    IKelComponent& component_;
};

TEST(Entry, SelfTestsRunAndPass) {
    const IPtr<IKelComponent> component = enter();
    const IPtr<SelfTestRunner> runner(new SelfTestRunner(*component));
    kel::queryInterface<IKelCompInternal>(component.get())->selfTest(runner.get());
    EXPECT_EQ(runner->names, (std::vector<std::string>{"MSXMLSelfTest", "PoolSelfTest", "StreamSelfTest"}));
}

TEST(Wrappers, HandOutSeparateParsersAndShareTheirCustomizer) {
    XmlDOM a;
    XmlDOM copy(a);
    XmlDOM assigned;
    assigned = a;
    EXPECT_EQ(std::memcmp(&a, &copy, sizeof a), 0);
    EXPECT_EQ(std::memcmp(&a, &assigned, sizeof a), 0);
    XmlSAX sax;
    XmlSAX otherSax;
    otherSax = sax;
    EXPECT_EQ(std::memcmp(&sax, &otherSax, sizeof sax), 0);

    IKelDOMXmlV2* const raw = a.getParser();
    EXPECT_EQ(raw->refCount(), 0);
    const DomParser parsers[] = {DomParser(raw), DomParser(a.getParser()), DomParser(createIKelDOMXml()),
                                 DomParser(createIKelDOMXml())};
    for (const DomParser& one : parsers) {
        EXPECT_EQ(std::count_if(std::begin(parsers), std::end(parsers),
                                [&](const DomParser& other) { return other.get() == one.get(); }),
                  1);
        EXPECT_TRUE(one->loadFromString(wide("<a/>")));
    }
}

// What COM says on a thread of its own after `work`: S_FALSE, it is initialised; S_OK, it was not.
template <typename Work>
HRESULT stateOfComAfter(Work work) {
    HRESULT state = E_FAIL;
    std::thread([&] {
        work();
        state = CoInitialize(nullptr);
        CoUninitialize();
    }).join();
    return state;
}

TEST(Wrappers, InitialiseComOnTheirThreadAndLeaveItSo) {
    EXPECT_EQ(stateOfComAfter([] {}), S_OK);
    EXPECT_EQ(stateOfComAfter([] { const XmlDOM dom; }), S_FALSE);
    EXPECT_EQ(stateOfComAfter([] { const XmlSAX sax; }), S_FALSE);
    const DomParser first(createIKelDOMXml());
    EXPECT_EQ(stateOfComAfter([] { const DomParser later(createIKelDOMXml()); }), S_OK)
        << "once, not each time";
}

// Every object hands out itself and its interfaces by exact name, and describes them in the same order.
TEST(Names, OfEveryClass) {
    const DomParser dom = load("<a><b/></a>");
    const SaxParser sax = makeSax();
    const Element element = rootOf(dom);
    const Elements itr(element->getChildren());
    struct Row {
        IKelUnknown* object;
        std::vector<std::string> names;
    };
    const Row rows[] = {
        {dom.get(), {"MSDOMXml", "IKelDOMXml", "IKelDOMXmlV2"}},
        {sax.get(), {"MSSAXXml", "IKelSAXXml", "IKelSAXXmlV2"}},
        {element.get(), {"MSDOMXmlElement", "IKelDOMXmlElement"}},
        {itr.get(), {"MSDOMXmlElementItr", "IKelDOMXmlElementItr"}},
        {dom->getError(), {"MSDOMXmlError", "IKelDOMXmlError"}},
        {sax->getError(), {"MSSAXXmlError", "IKelSAXXmlError"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.names[0]);
        EXPECT_EQ(row.object->className(), row.names[0]);
        const std::int32_t count = row.object->refCount();
        void* part = nullptr;
        for (const std::string& name : row.names) {
            row.object->queryInterface(name.c_str(), &part, false);
            EXPECT_NE(part, nullptr) << name;
            std::string lower = name;
            lower[0] = static_cast<char>(std::tolower(lower[0]));
            row.object->queryInterface(lower == name ? "x" : lower.c_str(), &part, false);
            EXPECT_EQ(part, nullptr) << lower;
        }
        row.object->queryInterface("IKelUnknown", &part, false);
        EXPECT_EQ(part, row.object);
        EXPECT_EQ(row.object->refCount(), count);

        KelClassDescription description;
        kel::describeClass(*row.object, description);
        ASSERT_EQ(description.entries().count(), row.names.size());
        for (std::size_t i = 0; i < row.names.size(); ++i) {
            const KelClassEntry* const entry = description.entries().at(i + 1);
            EXPECT_EQ(entry->name, row.names[i]);
            EXPECT_EQ(entry->kind, i == 0 ? KelClassEntryKind::Class : KelClassEntryKind::Interface);
        }
    }
}

// The error object is a part of its parser: references on it count, but their end is not its own.
TEST(ErrorObject, HoldsAReferenceOnItself) {
    const DomParser parser = makeDom();
    IKelDOMXmlError* const error = parser->getError();
    EXPECT_EQ(error->refCount(), 1);
    EXPECT_EQ(makeSax()->getError()->refCount(), 1);
    for (int i = 0; i < 3; ++i) {
        const IPtr<IKelDOMXmlError> held(parser->getError());
        EXPECT_EQ(held.get(), error);
    }
    EXPECT_EQ(error->setCode(3)->setCode(-5), error);
    const int& code = error->getCode();
    EXPECT_EQ(code, -5);
    EXPECT_EQ(utf8(error->setMessage(wide("  text %1 "))), "  text %1 ");
    EXPECT_EQ(&error->setMessage(error->getMessage()), &error->getMessage());
    EXPECT_EQ(utf8(error->getMessage()), "  text %1 ");
    error->clear();
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(error->getMessage().isNull());
}

TEST(Parsers, DieWithTheirLastReference) {
    DomParser parser(makeDom());
    IPtr<IKelDOMXml> second(parser.get());
    EXPECT_EQ(parser->refCount(), 2);
    KelWeakRef* const weak = parser->weakRef();
    weak->addRef();
    parser.reset();
    EXPECT_NE(weak->target(), nullptr);
    second.reset();
    EXPECT_EQ(weak->target(), nullptr);
    weak->release();
}

template <typename Work>
void onTwoThreads(const Work& work) {
    (void)kel::currentTranslator();  // settled before threads come in, as while a component is loaded
    std::thread one(work, "one");
    std::thread two(work, "two");
    one.join();
    two.join();
}

TEST(Parsers, OfTwoThreadsDoNotMeet) {
    onTwoThreads([](const char* name) {
        for (int i = 0; i < 200; ++i) {
            const DomParser parser = makeDom();
            const std::string xml = std::string("<") + name + ">\n\t<b x=\"1\">t</b>\n</" + name + ">\n";
            ASSERT_TRUE(parser->loadFromString(wide(xml)));
            ASSERT_EQ(saved(parser), xml);
        }
    });
}

TEST(Parsers, OfTwoThreadsRejectWithoutMeeting) {
    if (traits::kRejectsOnManyThreads != nullptr) GTEST_SKIP() << traits::kRejectsOnManyThreads;
    onTwoThreads([](const char* name) {
        for (int i = 0; i < 200; ++i) {
            const DomParser parser = makeDom();
            ASSERT_FALSE(parser->loadFromString(wide("<" + std::string(name))));
            ASSERT_TRUE(parser->loadFromString(wide("<a/>")));
        }
    });
}

}  // namespace
