// The streaming reader: reports a document to a content handler while it is read, in UTF-16, and validates
// it meanwhile if that is wanted. An object of the class table (CLSID_SAXXMLReader, CLSID_SAXXMLReader60),
// counted from 1. Threads: one at a time; events arrive on the thread that calls parse or parseURL, inside
// that call.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/reader/events.h"
#include "engine/reader/reader.h"
#include "engine/reader/schemastream.h"
#include "engine/sax/events.h"

namespace engine::sax {

class SaxReader final : public ISAXXMLReader {
public:
    static HRESULT create(REFIID iid, void** object) noexcept;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE getFeature(const OLECHAR* name, VARIANT_BOOL* value) override;
    HRESULT STDMETHODCALLTYPE putFeature(const OLECHAR* name, VARIANT_BOOL value) override;
    HRESULT STDMETHODCALLTYPE getProperty(const OLECHAR* name, VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE putProperty(const OLECHAR* name, VARIANT value) override;

    // They share the handler; null takes it away. During an event: the next event goes to the new handler.
    HRESULT STDMETHODCALLTYPE putContentHandler(ISAXContentHandler* handler) override;
    HRESULT STDMETHODCALLTYPE putErrorHandler(ISAXErrorHandler* handler) override;
    // A path or a file: URL. The status is the document's first error, or the failing status of a handler,
    // which ends the parse. What a handler throws comes out as it is. Inside an event of the same reader:
    // E_UNEXPECTED. The error handler receives an error before.
    HRESULT STDMETHODCALLTYPE parseURL(const OLECHAR* url) override;
    HRESULT STDMETHODCALLTYPE parse(VARIANT input) override;

    // As parseURL, from any input and with the options given; a DOCTYPE is theirs to allow.
    HRESULT parse(const source::Input& input, const reader::ReadOptions& options);
    // Of the last parse; no error if it went well or if the handler ended it. Lent until the next one.
    [[nodiscard]] const source::ParseError& lastError() const noexcept { return lastError_; }

private:
    SaxReader() = default;
    ~SaxReader() = default;
    [[nodiscard]] bool* featureOf(std::u16string_view name) noexcept;
    [[nodiscard]] reader::ReadOptions options() const;
    template <typename Handler>
    void exchange(com::Ref<Handler>& handler, com::Ref<Handler> next);
    HRESULT parseGuarded(const source::Input& input, const reader::ReadOptions& options, bool& inHandler);
    HRESULT reportError(const source::ParseError& error, bool& inHandler);
    void reportViolation(const reader::Violation& violation, bool& inHandler);

    std::uint32_t count_ = 1;
    Handlers handlers_;
    com::Ref<ISAXErrorHandler> errorHandler_;
    com::Ref<IUnknown> schemas_;
    com::Ref<reader::ISchemaStream> validation_;  // the same object
    bool validates_ = false;
    bool isExhaustive_ = false;
    bool prohibitsDtd_ = false;
    std::uint32_t depthLimit_ = reader::ReadOptions().depthLimit;
    std::vector<com::Ref<IUnknown>> retired_;  // replaced during a parse, where they may still be running
    bool isParsing_ = false;
    source::ParseError lastError_;
};

}  // namespace engine::sax
