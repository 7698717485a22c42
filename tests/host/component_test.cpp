// The real component inside the reference host.
#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/ikeltranslator.h"
#include "enginetraits.h"
#include "framework/object/implements.h"
#include "host/host.h"
#include "host/settings.h"
#include "host/text.h"
#include "msxml_parser/ikeldomxml.h"
#include "msxml_parser/ikelsaxxml.h"
#include "tests/host/catalogues.h"
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

    kelhost::Host host{{.languages = "en"}};
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
    EXPECT_EQ(component.version(), KEL_VERSION);
    std::vector<std::string> names;
    for (const kelhost::ComponentClass& offered : component.classes()) names.push_back(offered.name);
    EXPECT_THAT(names, ElementsAre("MSDOMXml", "MSSAXXml"));

    const KelClassId dom = component.classNamed("MSDOMXml");
    EXPECT_NE(component.create<IKelDOMXmlV2>(dom).get(), component.create<IKelDOMXmlV2>(dom).get());
    EXPECT_TRUE(loaded().host.create<IKelDOMXmlV2>(dom));
    EXPECT_THAT(hostErrorOf([] { (void)loaded().host.create<IKelDOMXmlV2>(KelClassId{}); }),
                HasSubstr("no component"));
    EXPECT_THAT(hostErrorOf([] { (void)loaded().host.create<IKelDOMXmlV2>("NoSuchClass"); }),
                HasSubstr("NoSuchClass"));
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

// Latin, Cyrillic, Greek, Arabic, Hebrew, Devanagari, Thai, Japanese, Korean, a letter with a combining
// accent beside the composed one, beyond 16 bits, and joined emoji.
constexpr std::u16string_view kScripts =
    u"na\u00EFve \u041F\u0440\u0438\u0432\u0435\u0442 \u0391\u03B8\u03AE\u03BD\u03B1 "
    u"\u0633\u0644\u0627\u0645 "
    u"\u05E9\u05DC\u05D5\u05DD \u0928\u092E\u0938\u094D\u0924\u0947 \u0E44\u0E17\u0E22 \u65E5\u672C\u8A9E "
    u"\uD55C\uAD6D\uC5B4 e\u0301 \u00E9 \U0001F600 \U00020BB7 \U0001F469\u200D\U0001F52C";

std::string inUtf16(std::u16string_view text, bool isBigEndian) {
    std::string bytes;
    for (const char16_t unit : u"\uFEFF" + std::u16string(text)) {
        const char high = static_cast<char>(unit >> 8);
        const char low = static_cast<char>(unit & 0xFF);
        bytes += isBigEndian ? high : low;
        bytes += isBigEndian ? low : high;
    }
    return bytes;
}

TEST(HostedComponent, KeepsEveryScriptThroughSavingAndLoading) {
    const std::u16string scripts(kScripts);
    const std::u16string document = u"<\u30C7\u30FC\u30BF \u0438\u043C\u044F=\"" + scripts + u"\">" +
                                    scripts + u"<b n=\"\u00E9\">\U0001F600</b></\u30C7\u30FC\u30BF>";
    const std::string inUtf8 = kelhost::toUtf8(KelString(document));
    const kel::test::TemporaryFolder folder;
    const KelString saved = kelhost::fromUtf8(folder.pathOf("\xE6\x97\xA5\xE6\x9C\xAC.xml"));
    for (const std::string& bytes : {inUtf8, inUtf16(document, false), inUtf16(document, true)}) {
        const auto parser = loaded().host.create<IKelDOMXmlV2>("MSDOMXml");
        ASSERT_TRUE(parser->loadFromFile(kelhost::fromUtf8(folder.write("original.xml", bytes))));
        KelString before;
        ASSERT_TRUE(parser->saveToString(before));
        ASSERT_TRUE(parser->saveToFile(saved));
        const auto again = loaded().host.create<IKelDOMXmlV2>("MSDOMXml");
        ASSERT_TRUE(again->loadFromFile(saved)) << kelhost::toUtf8(again->getError()->getMessage());
        const IPtr<IKelDOMXmlElement> root(again->getRootElement());
        EXPECT_EQ(root->getName(), u"\u30C7\u30FC\u30BF");
        EXPECT_EQ(root->getAttribute(u"\u0438\u043C\u044F"), kScripts);
        const IPtr<IKelDOMXmlElement> child(root->getChild(u"b"));
        EXPECT_EQ(child->getText(), u"\U0001F600");
        EXPECT_EQ(child->getAttribute(u"n"), u"\u00E9");
        KelString after;
        ASSERT_TRUE(again->saveToString(after));
        EXPECT_EQ(kel::test::readText(folder.pathOf("\xE6\x97\xA5\xE6\x9C\xAC.xml")),
                  kelhost::toUtf8(before));
    }
}

TEST(HostedComponent, SpeaksTheLanguageThatIsChosenAndChangesIt) {
    struct Row {
        const char* languages;
        const char* message;
    };
    const std::array rows{
        Row{"de_AT",
            "Fehler beim Lesen von no.xml: Die Datei ist nicht vorhanden, oder Ihnen fehlt die "
            "Leseberechtigung"},
        Row{"fr",
            "Erreur de lecture de no.xml\xC2\xA0: le fichier n\xE2\x80\x99"
            "existe pas ou vous n\xE2\x80\x99"
            "avez pas le "
            "droit de le lire"},
        Row{"ja",
            "no.xml "
            "\xE3\x82\x92\xE8\xAA\xAD\xE3\x81\xBF\xE8\xBE\xBC\xE3\x82\x81\xE3\x81\xBE\xE3\x81\x9B\xE3\x82"
            "\x93: "},
        Row{"tlh", "Error while reading no.xml : The file doesn't exist or you don't have read rights to it"},
        Row{"en:de",
            "Error while reading no.xml : The file doesn't exist or you don't have read rights to it"},
    };
    for (const Row& row : rows) {
        loaded().host.setLanguages(row.languages);
        const auto parser = loaded().host.create<IKelDOMXmlV2>("MSDOMXml");
        EXPECT_FALSE(parser->loadFromFile(u"no.xml"));
        EXPECT_THAT(kelhost::toUtf8(parser->getError()->getMessage()), ::testing::StartsWith(row.message))
            << row.languages;
    }
    // The position moves after the reason.
    loaded().host.setLanguages("ja");
    const auto parser = loaded().host.create<IKelDOMXmlV2>("MSDOMXml");
    EXPECT_FALSE(parser->loadFromString(u"<a>\n<b></a>"));
    EXPECT_THAT(kelhost::toUtf8(parser->getError()->getMessage()),
                ::testing::EndsWith(kel::test::traits::kJapanesePlaceInLine2));
    loaded().host.setLanguages("en");
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
    const bool hasMalformed = kel::test::traits::kRejectsOnManyThreads == nullptr;
    const kelhost::Component& component = loaded().component;
    const KelClassId dom = component.classNamed("MSDOMXml");
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            const KelString value(t);
            for (int i = 0; i < 200; ++i) {
                const auto parser = component.create<IKelDOMXmlV2>(dom);
                if (hasMalformed &&
                    (parser->loadFromString(u"<a><b></a>") || parser->getError()->getCode() != 3))
                    ++wrong;
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

// Counting, services, languages, settings and objects by name, all at a time.
TEST(HostedComponent, ThreadsShareTheHost) {
    kelhost::Host& host = loaded().host;
    std::atomic<bool> isDone = false;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i) {
                const auto parser = host.create<IKelDOMXmlV2>("MSDOMXml");
                if (parser->loadFromFile(u"no.xml") || parser->getError()->getMessage().isEmpty()) ++wrong;
                if (!parser->loadFromString(u"<a>\u00E9</a>")) ++wrong;
                const IPtr<IKelDOMXmlElement> root(parser->getRootElement());
                const KelString text = root->getText();
                if (std::string(text.narrow()) != "\xC3\xA9") ++wrong;
            }
        });
    }
    std::thread changer([&] {
        while (!isDone) {
            for (const char* const language : {"de", "ja", "en"}) host.setLanguages(language);
            host.settings().set("Memory/MemLimit", host.settings().text("Memory/MemLimit") ? "1" : "2");
            host.settings().remove("Memory/MemLimit");
            host.load(KEL_COMPONENT);
        }
    });
    for (std::thread& thread : threads) thread.join();
    isDone = true;
    changer.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(host.components().size(), 1u);
    host.setLanguages("en");
}

TEST(HostedComponent, ADamagedCatalogueIsReportedAndCostsOnlyTheTranslation) {
    const kel::test::TemporaryFolder folder;
    const std::string damaged = kel::test::writeCatalogueFile(folder, "xx", "no catalogue", "msxml_parser");
    const IPtr<Reports> reports(new Reports);
    kelhost::Host host({.languages = "xx", .catalogueFolders = {folder.path()}});
    host.offer("IKelErrorService", *reports);
    const kelhost::Component component = host.load(KEL_COMPONENT);
    EXPECT_THAT(reports->all, ElementsAre(damaged + ": too short for a message catalogue"));
    void* part = nullptr;
    host.manager().lookupService("IKelTranslatorService", &part);
    IKelTranslator* const translator =
        static_cast<IKelTranslatorService*>(part)->translatorFor(component.classId());
    KelString text;
    EXPECT_EQ(translator->translate1(text, "Exception during transform: %1", u"x"),
              u"Exception during transform: x");
    EXPECT_FALSE(translator->hasTranslations());
    host.setLanguages("de");
    EXPECT_TRUE(translator->hasTranslations());
    EXPECT_EQ(translator->translate1(text, "Exception during transform: %1", u"x"),
              u"Ausnahme bei der Transformation: x");
    EXPECT_EQ(translator->translate0(text, "\xC3\xA4 %1"), u"\u00E4 %1")
        << "a missing entry falls back to the key";
    component.component().initialize(&loaded().host.manager());
}

}  // namespace
