// The real component inside the reference host.
#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "KelBasicTypes/ikelerrorservice.h"
#include "framework/object/implements.h"
#include "host/host.h"
#include "host/text.h"
#include "msxml_parser/ikeldomxml.h"
#include "msxml_parser/ikelsaxxml.h"
#include "tests/support/temporaryfolder.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Reports final : public kel::Implements<Reports, IKelErrorService> {
public:
    static constexpr const char* kClassName = "Reports";
    void report(const KelString& message, const std::int32_t& /*level*/, const char* /*operation*/) override {
        all.push_back(kelhost::toUtf8(message));
    }
    std::vector<std::string> all;
};

// One host and component for all tests: what the component looks up once, it keeps.
struct Loaded {
    Loaded()
        : reports(new Reports),
          component((host.offer("IKelErrorService", *reports), host.load(KEL_COMPONENT))) {}

    kelhost::Host host;
    IPtr<Reports> reports;
    kelhost::Component component;
};

Loaded& loaded() {
    static Loaded& loaded = *new Loaded;
    return loaded;
}

template <class Action>
std::string hostErrorOf(Action action) {
    try {
        action();
    } catch (const kelhost::HostError& error) {
        return error.what();
    }
    return "no HostError";
}

TEST(HostedComponent, IsKnownAndMakesItsObjectsByNameAndInterface) {
    const kelhost::Component& component = loaded().component;
    EXPECT_EQ(component.name(), "msxml_parser");
    EXPECT_EQ(component.version(), "6.3.0.0");
    std::vector<std::string> names;
    for (const kelhost::ComponentClass& offered : component.classes()) names.push_back(offered.name);
    EXPECT_THAT(names, ElementsAre("MSDOMXml", "MSSAXXml"));

    const KelClassId dom = component.classNamed("MSDOMXml");
    EXPECT_NE(component.create<IKelDOMXmlV2>(dom).get(), component.create<IKelDOMXmlV2>(dom).get());
    EXPECT_THAT(hostErrorOf([&] { (void)component.create<IKelSAXXml>(dom); }),
                AllOf(HasSubstr("MSDOMXml"), HasSubstr("IKelSAXXml")));
    EXPECT_THAT(hostErrorOf([&] { (void)component.create<IKelDOMXml>(component.classId()); }),
                HasSubstr("no object"));
    EXPECT_THAT(hostErrorOf([&] { (void)component.classNamed("MSXml"); }), HasSubstr("no class MSXml"));
}

TEST(HostedComponent, ReportsItsSelfTestToTheHostsErrorService) {
    Loaded& all = loaded();
    all.reports->all.clear();
    all.host.setTestStatus(0x100 + 'k');
    all.component.inside().selfTest(nullptr);
    EXPECT_THAT(all.reports->all, ElementsAre("Unable to get test service", "k"));
}

TEST(HostedComponent, KeepsEveryScriptThroughSavingAndLoading) {
    const kel::test::TemporaryFolder folder;
    const std::string texts =
        "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82 \xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E "
        "\xF0\x9F\x98\x80 \xC3\xA9 "
        "\xD8\xB3\xD9\x84\xD8\xA7\xD9\x85";
    const std::string document = "<a n=\"" + texts + "\">" + texts + "</a>\n";
    const KelString saved = kelhost::fromUtf8(folder.pathOf("saved.xml"));

    const kelhost::Component& component = loaded().component;
    const auto parser = component.create<IKelDOMXmlV2>(component.classNamed("MSDOMXml"));
    ASSERT_TRUE(parser->loadFromFile(kelhost::fromUtf8(folder.write("original.xml", document))));
    ASSERT_TRUE(parser->saveToFile(saved));
    EXPECT_EQ(kel::test::readFile(folder.pathOf("saved.xml")), document);
}

TEST(HostedComponent, SharesCountedObjectsBetweenThreads) {
    const kelhost::Component& component = loaded().component;
    const auto parser = component.create<IKelDOMXmlV2>(component.classNamed("MSDOMXml"));
    ASSERT_TRUE(parser->loadFromString(u"<a><b/></a>"));
    const IPtr<IKelDOMXmlElement> root(parser->getRootElement());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 20'000; ++i) const IPtr<IKelDOMXmlElement> held(root);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(root->refCount(), 1);
}

TEST(HostedComponent, ThreadsWithParsersOfTheirOwnDoNotMeet) {
    const kelhost::Component& component = loaded().component;
    const KelClassId dom = component.classNamed("MSDOMXml");
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            const KelString value(t);
            for (int i = 0; i < 200; ++i) {
                const auto parser = component.create<IKelDOMXmlV2>(dom);
                if (parser->loadFromString(u"<a><b></a>") || parser->getError()->getCode() != 3) ++wrong;
                if (!parser->loadFromString(u"<a><b>x</b></a>")) ++wrong;
                const IPtr<IKelDOMXmlElement> root(parser->getRootElement());
                root->setAttribute(u"n", value);
                KelString text;
                parser->saveToString(text);
                if (!(root->getAttribute(u"n") == value) || text.isEmpty()) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
