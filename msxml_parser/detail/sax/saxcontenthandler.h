// What the SAX parser attaches to the engine's reader: turns the engine's callbacks into events for the
// receiver on top of the receiver stack. Life: its owner's business alone. The engine's counting and queries
// have no effect on it, and every callback returns S_OK, so that the engine is never asked to stop. An
// exception of a receiver passes through. Threads: the thread that runs the parse.
#pragma once

#include <cstdint>
#include <vector>

#include "KelBasicTypes/kelstring.h"
#include "msxml_parser/detail/platformcom.h"
#include "msxml_parser/ikelsaxxmlhandler.h"

class SAXContentHandlerImpl : public ISAXContentHandler {
public:
    SAXContentHandlerImpl() = default;
    SAXContentHandlerImpl(const SAXContentHandlerImpl&) = delete;
    SAXContentHandlerImpl& operator=(const SAXContentHandlerImpl&) = delete;

    void pushReceiver(IKelSAXXmlHandler* receiver) { receivers_.push_back(receiver); }  // borrowed
    void popReceiver() noexcept {
        if (!receivers_.empty()) receivers_.pop_back();
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE putDocumentLocator(ISAXLocator* locator) override;
    HRESULT STDMETHODCALLTYPE startDocument() override;
    HRESULT STDMETHODCALLTYPE endDocument() override;
    HRESULT STDMETHODCALLTYPE startPrefixMapping(const OLECHAR* prefix, int prefixLength, const OLECHAR* uri,
                                                 int uriLength) override;
    HRESULT STDMETHODCALLTYPE endPrefixMapping(const OLECHAR* prefix, int prefixLength) override;
    HRESULT STDMETHODCALLTYPE startElement(const OLECHAR* uri, int uriLength, const OLECHAR* localName,
                                           int localNameLength, const OLECHAR* qualifiedName,
                                           int qualifiedNameLength, ISAXAttributes* attributes) override;
    HRESULT STDMETHODCALLTYPE endElement(const OLECHAR* uri, int uriLength, const OLECHAR* localName,
                                         int localNameLength, const OLECHAR* qualifiedName,
                                         int qualifiedNameLength) override;
    HRESULT STDMETHODCALLTYPE characters(const OLECHAR* text, int length) override;
    HRESULT STDMETHODCALLTYPE ignorableWhitespace(const OLECHAR* text, int length) override;
    HRESULT STDMETHODCALLTYPE processingInstruction(const OLECHAR* target, int targetLength,
                                                    const OLECHAR* data, int dataLength) override;
    HRESULT STDMETHODCALLTYPE skippedEntity(const OLECHAR* name, int length) override;

    // After the interface's operations: it has no destructor in its table.
    virtual ~SAXContentHandlerImpl() = default;

private:
    void emptyAttributes();
    void addAttribute();
    void readAttributes(ISAXAttributes& attributes);

    std::int32_t depth_ = 0;
    KelString currentText_;
    KelString attributeName_;
    KelString attributeValue_;
    KelSAXXmlAttributes attributes_;
    // Entries of earlier elements, whose storage the next ones reuse.
    std::vector<KelSAXXmlAttributes::node_type> spareEntries_;
    std::vector<IKelSAXXmlHandler*> receivers_;
};
