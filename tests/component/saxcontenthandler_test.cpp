// The content handler fed as the engine's reader feeds it, for what no document shows.
#include "msxml_parser/detail/sax/saxcontenthandler.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "msxml_parser/detail/text.h"
#include "tests/component/recorder.h"
#include "unimplemented.h"

namespace {

using component_test::EventRecorder;

class Attributes final : public component_test::UnimplementedAttributes {
public:
    explicit Attributes(std::vector<std::pair<std::u16string, std::u16string>> list)
        : list_(std::move(list)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE getLength(int* count) override {
        *count = static_cast<int>(list_.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE getLocalName(int index, const OLECHAR** name, int* length) override {
        return give(list_[static_cast<std::size_t>(index)].first, name, length);
    }
    HRESULT STDMETHODCALLTYPE getValue(int index, const OLECHAR** value, int* length) override {
        return give(list_[static_cast<std::size_t>(index)].second, value, length);
    }

private:
    static HRESULT give(const std::u16string& text, const OLECHAR** units, int* length) {
        *units = msxml::toOleChars(text.data());
        *length = static_cast<int>(text.size());
        return S_OK;
    }

    std::vector<std::pair<std::u16string, std::u16string>> list_;
};

void start(SAXContentHandlerImpl& handler, std::u16string_view name, Attributes* attributes = nullptr) {
    EXPECT_EQ(handler.startElement(nullptr, 0, msxml::toOleChars(name.data()), static_cast<int>(name.size()),
                                   nullptr, 0, attributes),
              S_OK);
}

void end(SAXContentHandlerImpl& handler, std::u16string_view name) {
    EXPECT_EQ(handler.endElement(nullptr, 0, msxml::toOleChars(name.data()), static_cast<int>(name.size()),
                                 nullptr, 0),
              S_OK);
}

TEST(SaxContentHandler, IsInertTowardsTheEnginesCounting) {
    SAXContentHandlerImpl handler;
    void* const untouched = &handler;
    void* out = untouched;
    EXPECT_EQ(handler.QueryInterface(IID_IUnknown, &out), S_OK);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(handler.AddRef(), 0u);
    EXPECT_EQ(handler.Release(), 0u);
}

TEST(SaxContentHandler, TakesTextsByLengthAndKeepsTheFirstOfTwoEqualNames) {
    SAXContentHandlerImpl handler;
    EventRecorder recorder;
    handler.pushReceiver(&recorder);
    handler.startDocument();
    Attributes first({{u"b", u"1"}, {u"a", u"2"}, {u"b", u"3"}});
    start(handler, std::u16string_view(u"nameAndMore", 4), &first);
    Attributes second({{u"c", u""}, {u"a", u"4"}});  // reuses the entries of the first
    start(handler, u"x", &second);
    start(handler, u"y");
    handler.characters(msxml::toOleChars(u"text"), 2);
    handler.ignorableWhitespace(msxml::toOleChars(u"  "), 2);
    handler.processingInstruction(msxml::toOleChars(u"p"), 1, msxml::toOleChars(u"d"), 1);
    EXPECT_EQ(recorder.log(), "<name 0 a=2 b=1><x 1 a=4 c=><y 2>'te'");
}

// Without a receiver an element starts unnoticed but its end counts down.
TEST(SaxContentHandler, LetsTheDepthGoBelowZeroUntilTheNextDocument) {
    SAXContentHandlerImpl handler;
    EventRecorder recorder;
    handler.startDocument();
    start(handler, u"a");
    start(handler, u"b");
    end(handler, u"b");
    handler.pushReceiver(&recorder);
    start(handler, u"c");
    end(handler, u"c");
    end(handler, u"a");
    handler.startDocument();
    start(handler, u"d");
    EXPECT_EQ(recorder.log(), "<c -1></c></a><d 0>");
    handler.popReceiver();
    handler.popReceiver();  // empty: nothing happens
    handler.characters(msxml::toOleChars(u"x"), 1);
    EXPECT_EQ(recorder.log(), "<c -1></c></a><d 0>");
}

}  // namespace
