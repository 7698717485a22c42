#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

#include "KelBasicTypes/assertion.h"
#include "KelBasicTypes/ikelasserthandlercb.h"
#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/message.h"
#include "KelBasicTypes/stringsupport.h"
#include "framework/object/iptr.h"
#include "tests/basictypes/fakeservices.h"
#include "tests/basictypes/printing.h"

namespace {

class FakeTranslatorService final : public kel::Implements<FakeTranslatorService, IKelTranslatorService> {
public:
    static constexpr const char* kClassName = "FakeTranslatorService";
    IKelTranslator* translatorFor(const KelClassId& componentClassId) override {
        asked.push_back(componentClassId);
        return translator;
    }
    IKelTranslator* translator = nullptr;
    std::vector<KelClassId> asked;
};

KelString message(const char* key) {
    KelString result;
    kel::translate(result, key);
    return result;
}

TEST(StringSupport, DoesTheLocaleDependentWork) {
    const IPtr<FakeStrSupport> support(new FakeStrSupport);
    FreshHost host;
    host->offer<IKelStrSupport>(*support);
    const KelString text(u"a_7\x00E9");
    EXPECT_STREQ(text.narrow(), "<4>");
    const KelString null;
    EXPECT_STREQ(null.narrow(), "<0>");
    EXPECT_TRUE(KelString(u"b") < KelString(u"a"));
    EXPECT_TRUE(KelString() > KelString(u"a")) << "a null string reaches the service as an empty one";
    EXPECT_TRUE(text.isSpace(1));
    EXPECT_FALSE(text.isSpace(4));
    EXPECT_TRUE(text.isDigit(2));
    EXPECT_EQ(text.toLower(), u"a_7\x00E9 lowered");
    EXPECT_EQ(text.toUpper(), u"a_7\x00E9 uppered");
    EXPECT_EQ(text.mapWhitespace(u'+'), u"a+7\x00E9+n") << "mapped after it was normalised";
    EXPECT_EQ(text.mapWhitespace(u' '), u"a_7\x00E9_n") << "a plain space replaces nothing";
    EXPECT_EQ(text, u"a_7\x00E9");
    EXPECT_TRUE(KelString(u"a") == KelString(u"a")) << "equality needs no service";
    EXPECT_EQ(support->refCount(), 2);
}

TEST(StringSupport, IsLookedUpOnceFoundOrNot) {
    const IPtr<FakeStrSupport> support(new FakeStrSupport);
    FreshHost host;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] { EXPECT_EQ(kel::stringSupport(), nullptr); });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(host->own.lookups, std::vector<std::string>{"IKelStrSupport"});
    host->offer<IKelStrSupport>(*support);
    EXPECT_EQ(kel::stringSupport(), nullptr) << "too late: the fallbacks are settled";
}

TEST(Translator, CompletesTheKeyWhenTheHostOffersNone) {
    FreshHost host;
    KelString result(u"what was there");
    const KelString a(u"a"), b(u"b"), c(u"c"), d(u"d"), e(u"e"), f(u"f");
    EXPECT_EQ(kel::translate(result, "100% %1"), u"100% %1") << "no arguments, no substitution";
    EXPECT_EQ(kel::translate(result, "Error while reading %1 : No DOM Object", u"c:/a.xml"),
              u"Error while reading c:/a.xml : No DOM Object");
    EXPECT_EQ(kel::translate(result, "%2%1", a, b), u"ba");
    EXPECT_EQ(kel::translate(result, "%3%2%1", a, b, c), u"cba");
    EXPECT_EQ(kel::translate(result, "%4%3%2%1", a, b, c, d), u"dcba");
    EXPECT_EQ(kel::translate(result, "%5%4%3%2%1", a, b, c, d, e), u"edcba");
    EXPECT_EQ(kel::translate(result, "%6%5%4%3%2%1", a, b, c, d, e, f), u"fedcba");
    const KelString list[] = {a, b};
    EXPECT_EQ(kel::translateCounted(result, "%2%1", 2, list), u"ba");
    EXPECT_EQ(&kel::translate(result, "x"), &result);

    IKelTranslator& translator = kel::currentTranslator();
    EXPECT_STREQ(translator.className(), "KelTrivialTranslator");
    EXPECT_EQ(kel::queryInterface<KelTrivialTranslator>(&translator), &translator);
    EXPECT_EQ(kel::queryInterface<IKelTranslator>(&translator), &translator);
    EXPECT_FALSE(translator.hasTranslations());
    EXPECT_EQ(host->own.lookups, (std::vector<std::string>{"IKelTranslatorService", "IKelTranslator"}))
        << "settled on first use";
}

TEST(Translator, LeavesAMessageEmptyWhenItsKeyHasNoText) {
    const IPtr<MarkingTranslator> translator(new MarkingTranslator(u"T:"));
    FreshHost host;
    host->offer<IKelTranslator>(*translator);
    EXPECT_EQ(message("key"), u"T:key");
    KelString result(u"what was there");
    EXPECT_EQ(kel::translate(result, "unknown", u"a"), u"");
}

TEST(Translator, FromTheServiceIsAskedForOnceAndNeverReplaced) {
    kel::setComponentIdentity({"shelves", "1.0", {1, 2, 3, {4}}});
    const IPtr<MarkingTranslator> ofService(new MarkingTranslator(u"S:"));
    const IPtr<MarkingTranslator> direct(new MarkingTranslator(u"D:"));
    const IPtr<FakeTranslatorService> service(new FakeTranslatorService);
    service->translator = ofService.get();
    FreshHost host;
    host->offer<IKelTranslator>(*direct);
    host->offer<IKelTranslatorService>(*service);
    EXPECT_EQ(message("key"), u"S:key");
    EXPECT_EQ(service->asked, std::vector<KelClassId>{(KelClassId{1, 2, 3, {4}})});
    kel::setCurrentTranslator(direct.get());
    kel::setCurrentTranslator(nullptr);
    EXPECT_EQ(message("key"), u"S:key");
    EXPECT_EQ(ofService->refCount(), 2);
    EXPECT_EQ(service->refCount(), 1) << "asked, not kept";
}

TEST(Translator, SetBeforeTheFirstMessageGivesWayToTheServicesAlone) {
    const IPtr<MarkingTranslator> early(new MarkingTranslator(u"E:"));
    const IPtr<MarkingTranslator> direct(new MarkingTranslator(u"D:"));
    const IPtr<MarkingTranslator> ofService(new MarkingTranslator(u"S:"));
    const IPtr<FakeTranslatorService> service(new FakeTranslatorService);
    for (IKelTranslator* const translator :
         {static_cast<IKelTranslator*>(nullptr), static_cast<IKelTranslator*>(ofService.get())}) {
        service->translator = translator;
        FreshHost host;
        host->offer<IKelTranslatorService>(*service);
        host->offer<IKelTranslator>(*direct);
        kel::setCurrentTranslator(early.get());
        EXPECT_EQ(message("key"), translator == nullptr ? u"E:key" : u"S:key");
    }
    EXPECT_EQ(early->refCount(), 1);
}

TEST(Translator, ReplacesAndReleasesAnyOther) {
    const IPtr<MarkingTranslator> direct(new MarkingTranslator(u"D:"));
    const IPtr<MarkingTranslator> own(new MarkingTranslator(u"O:"));
    const IPtr<FakeTranslatorService> service(new FakeTranslatorService);  // has nothing for us
    FreshHost host;
    host->offer<IKelTranslatorService>(*service);
    host->offer<IKelTranslator>(*direct);
    EXPECT_EQ(message("key"), u"D:key");
    EXPECT_EQ(direct->refCount(), 2);
    kel::setCurrentTranslator(own.get());
    EXPECT_EQ(direct->refCount(), 1);
    EXPECT_EQ(message("key"), u"O:key");
    service->translator = own.get();
    kel::setCurrentTranslator(nullptr);
    EXPECT_EQ(message("key"), u"D:key") << "the service is asked once in the process";
    EXPECT_EQ(service->asked.size(), 1U);
}

struct FailedAssertion {
    std::string expression;
    std::string sourcePath;
    std::int32_t line = 0;
};
FailedAssertion lastFailed;

class FakeAssertHandler final : public kel::Implements<FakeAssertHandler, IKelAssertHandlerCB> {
public:
    static constexpr const char* kClassName = "FakeAssertHandler";
    void assertionFailed(const char* expression, const char* sourcePath, std::int32_t line) override {
        failures.push_back({expression, sourcePath, line});
    }
    std::vector<FailedAssertion> failures;
};

TEST(AssertionDeathTest, GoesToTheCallbackThenToTheHostThenEndsTheProcess) {
    const IPtr<FakeAssertHandler> handler(new FakeAssertHandler);
    {
        FakeHost host;
        host.offer<IKelAssertHandlerCB>(*handler);
        kel::setAssertionCallback([](const char* expression, const char* sourcePath, std::int32_t line) {
            lastFailed = {expression, sourcePath, line};
        });
        EXPECT_EQ(KelCString("text").find("t", -1), -1);
        EXPECT_EQ(lastFailed.expression, "start >= 0");
        EXPECT_EQ(lastFailed.sourcePath, "src/KelBasicTypes/kelcstring");
        EXPECT_EQ(lastFailed.line, 671);
        EXPECT_TRUE(handler->failures.empty());

        kel::setAssertionCallback(nullptr);
        kel::assertionFailed("a < b", "src/KelBasicTypes/binio", 578);
        ASSERT_EQ(handler->failures.size(), 1U);
        EXPECT_EQ(handler->failures[0].line, 578);
        EXPECT_EQ(handler->refCount(), 1);

        host.own.services.clear();
        EXPECT_EXIT(kel::assertionFailed("a < b", "path", 1), testing::ExitedWithCode(255), "");
    }
    EXPECT_EXIT(kel::assertionFailed("a < b", "path", 1), testing::ExitedWithCode(255), "");
}

}  // namespace
