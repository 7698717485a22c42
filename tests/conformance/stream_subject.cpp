#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/text/utf.h"
#include "tests/conformance/canonical.h"
#include "tests/conformance/recorder.h"
#include "tests/conformance/subject.h"

namespace conformance {
namespace {

using engine::com::Ref;

std::string toUtf8(const OLECHAR* text, int length) {
    return engine::text::toUtf8({text, static_cast<std::size_t>(length)});
}

// The content handler receives names as written and attributes by their local names, without declarations: in
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

std::string contradiction(const Outcome& outcome, const ContentHandler& handler, bool isReadable,
                          const Recorder& events) {
    if (isReadable != outcome.accepted) return "the status of parseURL is not that of the events";
    if (handler.report().text() != events.asHandler().text())
        return "the content handler receives other things than the events say";
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
    Recorder events;
    const Outcome read =
        readInto(events, engine::source::Input::file(path), engine::reader::ReadOptions::Parser::Automatic);
    outcome.reason = read.reason;
    outcome.canonical = read.canonical;
    outcome.contradiction = contradiction(outcome, handler, read.accepted, events);
    return outcome;
}

}  // namespace conformance
