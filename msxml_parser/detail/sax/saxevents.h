// What the third version of the SAX parser attaches to the engine's reader: turns the engine's callbacks into
// the events of an IKelSAXXmlHandlerV2, and keeps what the engine says of an error. No exception crosses the
// engine: one of the handler is kept, the parse ended, and thrown again afterwards. Life: its owner's
// business; counting does nothing. Threads: the thread that runs the parse.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "KelBasicTypes/kelstring.h"
#include "msxml_parser/detail/platformcom.h"
#include "msxml_parser/ikelsaxxmlhandlerv2.h"

namespace msxml {

class SaxEvents final : public ISAXContentHandler, public ISAXLexicalHandler, public ISAXErrorHandler {
public:
    explicit SaxEvents(int depthLimit) noexcept : depthLimit_(depthLimit) {}
    SaxEvents(const SaxEvents&) = delete;
    SaxEvents& operator=(const SaxEvents&) = delete;
    virtual ~SaxEvents() = default;

    // What the engine, or this object, found wrong.
    struct Error {
        HRESULT status = S_OK;
        bool isLimit = false;
        int line = 0;
        int column = 0;
        KelString reason;
    };

    void begin(IKelSAXXmlHandlerV2& handler);
    // The parse is over. Throws what the handler threw.
    void end();
    void stop() noexcept { isStopped_ = handler_ != nullptr; }
    [[nodiscard]] bool isRunning() const noexcept { return handler_ != nullptr; }
    [[nodiscard]] bool wasStopped() const noexcept { return isStopped_; }
    [[nodiscard]] const Error& error() const noexcept { return error_; }
    [[nodiscard]] int line() const;
    [[nodiscard]] int column() const;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

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

    HRESULT STDMETHODCALLTYPE startDTD(const OLECHAR* name, int nameLength, const OLECHAR* publicId,
                                       int publicIdLength, const OLECHAR* systemId,
                                       int systemIdLength) override;
    HRESULT STDMETHODCALLTYPE endDTD() override;
    HRESULT STDMETHODCALLTYPE startEntity(const OLECHAR* name, int length) override;
    HRESULT STDMETHODCALLTYPE endEntity(const OLECHAR* name, int length) override;
    HRESULT STDMETHODCALLTYPE startCDATA() override;
    HRESULT STDMETHODCALLTYPE endCDATA() override;
    HRESULT STDMETHODCALLTYPE comment(const OLECHAR* text, int length) override;

    HRESULT STDMETHODCALLTYPE error(ISAXLocator* locator, const OLECHAR* message, HRESULT code) override;
    HRESULT STDMETHODCALLTYPE fatalError(ISAXLocator* locator, const OLECHAR* message, HRESULT code) override;
    HRESULT STDMETHODCALLTYPE ignorableWarning(ISAXLocator* locator, const OLECHAR* message,
                                               HRESULT code) override;

private:
    struct Declared {
        std::u16string prefix;
        std::u16string uri;
    };
    template <typename Event>
    HRESULT deliver(Event&& event) noexcept;
    HRESULT rejectDepth() noexcept;
    void readAttributes(ISAXAttributes& attributes);
    void showDeclarations();

    const int depthLimit_;
    IKelSAXXmlHandlerV2* handler_ = nullptr;  // during a parse
    ISAXLocator* locator_ = nullptr;          // likewise
    bool isStopped_ = false;
    std::exception_ptr thrown_;
    Error error_;
    int depth_ = 0;
    std::vector<KelSAXXmlAttribute> attributes_;
    std::vector<Declared> declared_;  // by the element to come; the first declaredCount_ count
    std::size_t declaredCount_ = 0;
    std::vector<KelSAXXmlDeclaration> declarations_;
};

}  // namespace msxml
