// The streaming reader through its interface: events in UTF-16, statuses, exceptions.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/sax/saxreader.h"
#include "engine/source/errors.h"
#include "engine/text/utf.h"

namespace engine::sax {
namespace {

std::string narrow(const OLECHAR* text, int length) {
    EXPECT_NE(text, nullptr);
    return text::toUtf8({text, static_cast<std::size_t>(length)});
}

bool startsInsideAPair(const OLECHAR* text) {
    return (text[0] & 0xFC00) == 0xDC00;
}

// Writes the events down; counts what is held of it.
class Recorder : public ISAXContentHandler {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++count; }
    ULONG STDMETHODCALLTYPE Release() override { return --count; }
    HRESULT STDMETHODCALLTYPE putDocumentLocator(ISAXLocator* given) override {
        locator = com::Ref<ISAXLocator>::share(given);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE startDocument() override { return add("start"); }
    HRESULT STDMETHODCALLTYPE endDocument() override { return add("end"); }
    HRESULT STDMETHODCALLTYPE startPrefixMapping(const OLECHAR* prefix, int prefixLength, const OLECHAR* uri,
                                                 int uriLength) override {
        return add("map " + narrow(prefix, prefixLength) + "=" + narrow(uri, uriLength));
    }
    HRESULT STDMETHODCALLTYPE endPrefixMapping(const OLECHAR* prefix, int length) override {
        return add("unmap " + narrow(prefix, length));
    }
    HRESULT STDMETHODCALLTYPE startElement(const OLECHAR* uri, int uriLength, const OLECHAR* local,
                                           int localLength, const OLECHAR* name, int nameLength,
                                           ISAXAttributes* attributes) override {
        std::string line =
            "<{" + narrow(uri, uriLength) + "}" + narrow(local, localLength) + "|" + narrow(name, nameLength);
        int length = 0;
        EXPECT_EQ(attributes->getLength(&length), S_OK);
        for (int i = 0; i < length; ++i) {
            const OLECHAR* text = nullptr;
            int units = 0;
            EXPECT_EQ(attributes->getLocalName(i, &text, &units), S_OK);
            line += " " + narrow(text, units);
            EXPECT_EQ(attributes->getValue(i, &text, &units), S_OK);
            line += "=" + narrow(text, units);
        }
        const OLECHAR* text = u"";
        EXPECT_TRUE(FAILED(attributes->getValue(length, &text, &length)));
        EXPECT_EQ(text, nullptr);
        return add(line);
    }
    HRESULT STDMETHODCALLTYPE endElement(const OLECHAR* uri, int uriLength, const OLECHAR* local,
                                         int localLength, const OLECHAR* name, int nameLength) override {
        return add("</{" + narrow(uri, uriLength) + "}" + narrow(local, localLength) + "|" +
                   narrow(name, nameLength));
    }
    HRESULT STDMETHODCALLTYPE characters(const OLECHAR* text, int length) override {
        EXPECT_GT(length, 0);
        EXPECT_FALSE(startsInsideAPair(text));
        characterData += narrow(text, length);
        return onText();
    }
    HRESULT STDMETHODCALLTYPE ignorableWhitespace(const OLECHAR*, int) override { return add("ignorable"); }
    HRESULT STDMETHODCALLTYPE processingInstruction(const OLECHAR* target, int targetLength,
                                                    const OLECHAR* data, int dataLength) override {
        return add("pi " + narrow(target, targetLength) + " " + narrow(data, dataLength));
    }
    HRESULT STDMETHODCALLTYPE skippedEntity(const OLECHAR*, int) override { return add("skipped"); }

    virtual HRESULT onText() { return S_OK; }
    virtual HRESULT onEvent(const std::string&) { return S_OK; }

    [[nodiscard]] std::string position() const {
        int line = -1;
        int column = -1;
        EXPECT_EQ(locator->getLineNumber(&line), S_OK);
        EXPECT_EQ(locator->getColumnNumber(&column), S_OK);
        return std::to_string(line) + ":" + std::to_string(column);
    }

    ULONG count = 1;
    com::Ref<ISAXLocator> locator;
    std::string log;
    std::string characterData;

private:
    HRESULT add(const std::string& line) {
        if (!characterData.empty()) log += "[" + characterData + "]\n";
        characterData.clear();
        log += line + "\n";
        return onEvent(line);
    }
};

class SaxTest : public testing::Test {
protected:
    SaxTest() {
        void* object = nullptr;
        EXPECT_EQ(CoCreateInstance(CLSID_SAXXMLReader, nullptr, CLSCTX_ALL, IID_ISAXXMLReader, &object),
                  S_OK);
        reader = com::Ref<ISAXXMLReader>::adopt(static_cast<ISAXXMLReader*>(object));
    }
    ~SaxTest() override { std::filesystem::remove(path); }

    HRESULT parse(Recorder& recorder, std::string_view document) {
        std::ofstream(path, std::ios::binary) << document;
        EXPECT_EQ(reader->putContentHandler(&recorder), S_OK);
        const HRESULT status = reader->parseURL(text::toUtf16(path).c_str());
        EXPECT_EQ(reader->putContentHandler(nullptr), S_OK);
        EXPECT_EQ(recorder.count, 1u) << "a reference was kept";
        return status;
    }
    [[nodiscard]] const source::ParseError& lastError() const {
        return static_cast<SaxReader*>(reader.get())->lastError();
    }

    std::string path =
        testing::TempDir() + "sax_test_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) + ".xml";
    com::Ref<ISAXXMLReader> reader;
};

TEST_F(SaxTest, DeliversNamesResolvedAndTextWhole) {
    const struct {
        std::string_view fault;
        std::string_view document;
        std::string_view events;
    } cases[] = {
        {"declarations are no attributes, wherever they stand", "<p:e xmlns:p='u' xmlns:q='v' q:a='1'/>",
         "start\nmap p=u\nmap q=v\n<{u}e|p:e a=1\n</{u}e|p:e\nunmap q\nunmap p\nend\n"},
        {"a declaration after the attribute that needs it", "<e q:a='1' xmlns:q='v' b='2'/>",
         "start\nmap q=v\n<{}e|e a=1 b=2\n</{}e|e\nunmap q\nend\n"},
        {"the default namespace goes in and out of scope", "<a xmlns='u'><b xmlns=''><c/></b><d/></a>",
         "start\nmap =u\n<{u}a|a\nmap =\n<{}b|b\n<{}c|c\n</{}c|c\n</{}b|b\nunmap "
         "\n<{u}d|d\n</{u}d|d\n</{u}a|a\nunmap \nend\n"},
        {"xml needs no declaration", "<a xml:lang='en'/>", "start\n<{}a|a lang=en\n</{}a|a\nend\n"},
        {"CDATA, entities and references are text; comments are not there",
         "<!DOCTYPE a [<!ENTITY e 'x<b/>y'><!ATTLIST b k CDATA 'v'>]><a>1<![CDATA[<2>]]><!-- no "
         "-->&lt;&#x1F600;&e;</a>",
         "start\n<{}a|a\n[1<2><\U0001F600x]\n<{}b|b k=v\n</{}b|b\n[y]\n</{}a|a\nend\n"},
        {"instructions outside and inside the root", "<?p  1 ?><a><?q?></a>",
         "start\npi p 1 \n<{}a|a\npi q \n</{}a|a\nend\n"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.fault);
        Recorder recorder;
        EXPECT_EQ(parse(recorder, row.document), S_OK);
        EXPECT_EQ(recorder.log, row.events);
    }
}

TEST_F(SaxTest, NeverTearsASurrogatePairApart) {
    std::string document = "<a>";
    for (int i = 0; i < 100'000; ++i) document += i % 3 == 0 ? "x\U0001F600" : "\U0001F600";
    Recorder recorder;
    ASSERT_EQ(parse(recorder, document + "</a>"), S_OK);
    EXPECT_EQ(recorder.log, "start\n<{}a|a\n[" + document.substr(3) + "]\n</{}a|a\nend\n");
}

TEST_F(SaxTest, ReturnsTheFirstErrorAndDescribesIt) {
    Recorder recorder;
    const HRESULT status = parse(recorder, "<a>\n<b>x</c></a>");
    EXPECT_EQ(status, source::statusOf(source::ErrorCode::MismatchedEndTag));
    EXPECT_EQ(recorder.log, "start\n<{}a|a\n[\n]\n<{}b|b\n");
    EXPECT_EQ(recorder.characterData, "x");
    EXPECT_EQ(lastError().position.line, 2u);
    IErrorInfo* info = nullptr;
    ASSERT_EQ(GetErrorInfo(0, &info), S_OK);
    const auto held = com::Ref<IErrorInfo>::adopt(info);
    BSTR description = nullptr;
    ASSERT_EQ(held->GetDescription(&description), S_OK);
    EXPECT_EQ(text::toUtf8(description), "Line 2, column 5: End tag 'c' does not match the start tag 'b'.");
    SysFreeString(description);

    EXPECT_EQ(reader->parseURL(u"/no/such/file.xml"), source::statusOf(source::ErrorCode::CannotOpen));
    EXPECT_EQ(reader->parseURL(nullptr), E_POINTER);
    EXPECT_EQ(parse(recorder, "<a/>"), S_OK);  // and goes on working
    EXPECT_FALSE(lastError().failed());
}

TEST_F(SaxTest, FeaturesAndPropertiesKeepWhatTheyAreSetTo) {
    VARIANT_BOOL flag = VARIANT_FALSE;
    EXPECT_EQ(reader->putFeature(u"prohibit-dtd", VARIANT_TRUE), S_OK);
    EXPECT_EQ(reader->getFeature(u"prohibit-dtd", &flag), S_OK);
    EXPECT_EQ(flag, VARIANT_TRUE);
    constexpr const OLECHAR* kExternal = u"http://xml.org/sax/features/external-general-entities";
    EXPECT_EQ(reader->getFeature(kExternal, &flag), S_OK);
    EXPECT_EQ(flag, VARIANT_FALSE);
    EXPECT_EQ(reader->putFeature(kExternal, VARIANT_FALSE), S_OK);
    EXPECT_EQ(reader->putFeature(kExternal, VARIANT_TRUE), E_NOTIMPL);
    VARIANT depth{};
    depth.vt = VT_I4;
    depth.lVal = 7;
    EXPECT_EQ(reader->putProperty(u"max-element-depth", depth), S_OK);
    depth.lVal = 0;
    EXPECT_EQ(reader->putProperty(u"max-element-depth", depth), E_INVALIDARG);
    EXPECT_EQ(reader->putProperty(u"schemas", depth), E_INVALIDARG);
    EXPECT_EQ(reader->getProperty(u"max-element-depth", &depth), S_OK);
    EXPECT_EQ(depth.lVal, 7);
    EXPECT_EQ(reader->getProperty(u"schemas", &depth), S_OK);
    EXPECT_TRUE(depth.vt == VT_UNKNOWN && depth.punkVal == nullptr);
    for (const HRESULT status :
         {reader->putFeature(u"other", VARIANT_TRUE), reader->getFeature(u"other", &flag),
          reader->putProperty(u"other", depth), reader->getProperty(u"other", &depth)})
        EXPECT_EQ(status, E_INVALIDARG);
}

TEST_F(SaxTest, HandlerThatFailsOrThrowsEndsTheParse) {
    class Failing final : public Recorder {
    public:
        HRESULT onEvent(const std::string& line) override {
            if (line == atLine && throws) throw std::runtime_error("from the handler");
            return line == atLine ? E_ACCESSDENIED : S_OK;
        }
        std::string atLine;
        bool throws = false;
    };
    // Without a DOCTYPE and with one: both parsers are left from the middle, also from inside an entity.
    for (std::string document : {"<a><b/><c/></a>", "<!DOCTYPE a [<!ENTITY e '<b/>'>]><a>&e;<c/></a>"}) {
        for (std::string_view line : {"start", "<{}b|b", "</{}b|b", "end"}) {
            for (bool throws : {false, true}) {
                SCOPED_TRACE(document + " " + std::string(line));
                Failing handler;
                handler.atLine = line;
                handler.throws = throws;
                HRESULT status = S_OK;
                std::string thrown;
                try {
                    status = parse(handler, document);
                } catch (const std::runtime_error& error) {
                    thrown = error.what();
                    EXPECT_EQ(reader->putContentHandler(nullptr), S_OK);
                }
                EXPECT_EQ(status, throws ? S_OK : E_ACCESSDENIED);
                EXPECT_EQ(thrown, throws ? "from the handler" : "");
                EXPECT_TRUE(handler.log.ends_with(std::string(line) + "\n")) << handler.log;
                EXPECT_EQ(handler.count, 1u);
                Recorder after;
                EXPECT_EQ(parse(after, document), S_OK);
                EXPECT_TRUE(after.log.ends_with("end\n"));
            }
        }
    }
}

TEST_F(SaxTest, EventsMayChangeTheHandlerButNotStartAnotherParse) {
    class Changing final : public Recorder {
    public:
        HRESULT onEvent(const std::string& line) override {
            if (line != "<{}b|b") return S_OK;
            inner = reader->parseURL(u"/no/such/file.xml");
            return reader->putContentHandler(next);
        }
        ISAXXMLReader* reader = nullptr;
        ISAXContentHandler* next = nullptr;
        HRESULT inner = S_OK;
    };
    Recorder second;
    Changing first;
    first.reader = reader.get();
    first.next = &second;
    EXPECT_EQ(parse(first, "<a><b>t</b></a>"), S_OK);
    EXPECT_EQ(first.inner, E_UNEXPECTED);
    EXPECT_EQ(first.log, "start\n<{}a|a\n<{}b|b\n");
    EXPECT_EQ(second.log, "[t]\n</{}b|b\n</{}a|a\nend\n");
    EXPECT_EQ(second.count, 1u);
}

TEST_F(SaxTest, LocatorReportsWhereAnEventStartsAndOutlivesTheParse) {
    class Locating final : public Recorder {
    public:
        HRESULT onEvent(const std::string& line) override {
            if (line.starts_with("<")) positions += position() + " ";
            return S_OK;
        }
        HRESULT onText() override {
            positions += position() + " ";
            return S_OK;
        }
        std::string positions;
    };
    for (std::string_view doctype : {"", "<!DOCTYPE a [<!ENTITY e 'x'>]>"}) {
        Locating handler;
        EXPECT_EQ(parse(handler, std::string(doctype) + "\r\n<a>\u00E4<b x='1'\n y='2'/>\n  <c>t</c></a>"),
                  S_OK);
        EXPECT_EQ(handler.positions, "2:1 2:4 2:5 2:5 3:9 4:3 4:6 4:7 4:11 ") << doctype;
        EXPECT_EQ(handler.position(), "0:0");
    }
}

}  // namespace
}  // namespace engine::sax
