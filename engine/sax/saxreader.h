// The streaming reader: tells a content handler about a document while it is read, in UTF-16.
// An object of the class table (CLSID_SAXXMLReader), counted from 1. Threads: one at a time; events arrive on
// the thread that calls parseURL, inside that call.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/reader/events.h"
#include "engine/reader/reader.h"

namespace engine::sax {

class SaxReader final : public ISAXXMLReader {
public:
    static HRESULT create(REFIID iid, void** object) noexcept;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // Shares the handler; null takes it away. During an event: the next event goes to the new handler.
    HRESULT STDMETHODCALLTYPE putContentHandler(ISAXContentHandler* handler) override;
    // A path or a file: URL. The status is the document's first error, or the failing status of the handler,
    // which ends the parse. What the handler throws comes out as it is. Inside an event of the same reader:
    // E_UNEXPECTED.
    HRESULT STDMETHODCALLTYPE parseURL(const OLECHAR* url) override;

    // As parseURL, from any input and with the options given; a DOCTYPE is theirs to allow.
    HRESULT parse(const reader::Input& input, const reader::ReadOptions& options);
    // Of the last parse; no error if it went well or if the handler ended it. Lent until the next one.
    [[nodiscard]] const reader::ParseError& lastError() const noexcept { return lastError_; }

private:
    SaxReader() = default;
    ~SaxReader() = default;
    HRESULT parseGuarded(const reader::Input& input, const reader::ReadOptions& options, bool& inHandler);

    std::uint32_t count_ = 1;
    com::Ref<ISAXContentHandler> handler_;
    std::vector<com::Ref<ISAXContentHandler>>
        retired_;  // replaced during a parse, where they may still be running
    bool isParsing_ = false;
    reader::ParseError lastError_;
};

}  // namespace engine::sax
