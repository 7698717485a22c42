#include <cstdint>
#include <cstdio>

#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/reader/reader.h"
#include "engine/text/utf.h"
#include "tests/conformance/canonical.h"
#include "tests/conformance/subject.h"

namespace conformance {
namespace {

using engine::com::Ref;
namespace reader = engine::reader;

std::string toUtf8(const OLECHAR* text, int length) {
    return engine::text::toUtf8({text, static_cast<std::size_t>(length)});
}

// The content handler is told names as written and attributes by their local names, without declarations: in
// this form the two routes are compared.
class ContentHandler final : public ISAXContentHandler {
public:
    [[nodiscard]] const CanonicalWriter& report() const { return report_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }  // lives on the stack of the parse
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE putDocumentLocator(ISAXLocator*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE startDocument() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE endDocument() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE startPrefixMapping(const OLECHAR*, int, const OLECHAR*, int) override {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE endPrefixMapping(const OLECHAR*, int) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE startElement(const OLECHAR*, int, const OLECHAR*, int, const OLECHAR* name,
                                           int length, ISAXAttributes* attributes) override {
        int count = 0;
        attributes->getLength(&count);
        CanonicalWriter::Attributes list;
        for (int i = 0; i < count; ++i) {
            const OLECHAR* local = nullptr;
            const OLECHAR* value = nullptr;
            int localLength = 0;
            int valueLength = 0;
            attributes->getLocalName(i, &local, &localLength);
            attributes->getValue(i, &value, &valueLength);
            list.emplace_back(toUtf8(local, localLength), toUtf8(value, valueLength));
        }
        report_.startElement(toUtf8(name, length), std::move(list));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE endElement(const OLECHAR*, int, const OLECHAR*, int, const OLECHAR* name,
                                         int length) override {
        report_.endElement(toUtf8(name, length));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE characters(const OLECHAR* text, int length) override {
        report_.characters(toUtf8(text, length));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE ignorableWhitespace(const OLECHAR* text, int length) override {
        return characters(text, length);
    }
    HRESULT STDMETHODCALLTYPE processingInstruction(const OLECHAR* target, int targetLength,
                                                    const OLECHAR* data, int dataLength) override {
        report_.processingInstruction(toUtf8(target, targetLength), toUtf8(data, dataLength));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE skippedEntity(const OLECHAR*, int) override { return S_OK; }

private:
    CanonicalWriter report_;
};

// Writes the events twice: whole, and as the content handler gets them.
class Recorder final : public reader::EventSink {
public:
    [[nodiscard]] const CanonicalWriter& whole() const { return whole_; }
    [[nodiscard]] const CanonicalWriter& asHandler() const { return asHandler_; }

    void startDocument(const reader::Locator& locator) override { locator_ = &locator; }
    void endDocument() override {}
    void startElement(std::string_view name, std::span<const reader::Attribute> attributes) override {
        CanonicalWriter::Attributes all;
        CanonicalWriter::Attributes local;
        const reader::Namespaces& namespaces = *locator_->namespaces();
        for (std::size_t i = 0; i < attributes.size(); ++i) {
            all.emplace_back(attributes[i].name, attributes[i].value);
            if (!namespaces.isDeclaration(i))
                local.emplace_back(namespaces.attribute(i).local, attributes[i].value);
        }
        whole_.startElement(name, std::move(all));
        asHandler_.startElement(name, std::move(local));
    }
    void endElement(std::string_view name) override {
        whole_.endElement(name);
        asHandler_.endElement(name);
    }
    void characters(std::string_view text) override {
        whole_.characters(text);
        asHandler_.characters(text);
    }
    void startCData() override {}
    void endCData() override {}
    void comment(std::string_view) override {}
    void processingInstruction(std::string_view target, std::string_view data) override {
        whole_.processingInstruction(target, data);
        asHandler_.processingInstruction(target, data);
    }

private:
    const reader::Locator* locator_ = nullptr;
    CanonicalWriter whole_;
    CanonicalWriter asHandler_;
};

struct Reading {
    reader::ParseError error;
    Recorder events;
};

Reading readEvents(const std::string& path, reader::ReadOptions::Parser parser) {
    reader::ReadOptions options;
    options.dtd = reader::ReadOptions::Dtd::Internal;
    options.parser = parser;
    Reading reading;
    reading.error = reader::read(reader::Input::file(path), options, reading.events);
    return reading;
}

std::string describe(const reader::ParseError& error) {
    return std::to_string(error.position.line) + ":" + std::to_string(error.position.column) + ": " +
           error.reason;
}

std::string contradiction(const Outcome& outcome, const ContentHandler& handler, const Reading& automatic,
                          const Reading& libxml2) {
    if (automatic.error.failed() == outcome.accepted)
        return "the status of parseURL is not that of the events";
    if (handler.report().text() != automatic.events.asHandler().text())
        return "the content handler is told other things than the events say";
    if (automatic.error.failed() != libxml2.error.failed())
        return "the two parsers differ; libxml2's says: " +
               (libxml2.error.failed() ? describe(libxml2.error) : std::string("accepted"));
    if (outcome.accepted && automatic.events.whole().text() != libxml2.events.whole().text())
        return "the two parsers report different content";
    return {};
}

}  // namespace

Outcome tryStream(const std::string& path) {
    Outcome outcome;
    Ref<ISAXXMLReader> parser;
    const HRESULT created = CoCreateInstance(CLSID_SAXXMLReader, nullptr, CLSCTX_ALL, IID_ISAXXMLReader,
                                             reinterpret_cast<void**>(parser.receive()));
    if (FAILED(created)) {
        outcome.contradiction = "there is no SAX reader";
        return outcome;
    }
    ContentHandler handler;
    parser->putContentHandler(&handler);
    const std::u16string address = engine::text::toUtf16(path);
    outcome.accepted = SUCCEEDED(parser->parseURL(address.c_str()));
    const Reading automatic = readEvents(path, reader::ReadOptions::Parser::Automatic);
    const Reading libxml2 = readEvents(path, reader::ReadOptions::Parser::Libxml2);
    if (automatic.error.failed()) outcome.reason = describe(automatic.error);
    outcome.canonical = automatic.events.whole().text();
    outcome.contradiction = contradiction(outcome, handler, automatic, libxml2);
    return outcome;
}

}  // namespace conformance
