// The record of one load or validation, as a COM object. It counts from 1 and never changes.
#pragma once

#include "engine/com/blocks.h"
#include "engine/com/msxml.h"
#include "engine/reader/events.h"

namespace engine::dom {

class ParseErrorObject final : public IXMLDOMParseError, public com::Pooled {
public:
    explicit ParseErrorObject(const reader::ParseError& error) : error_(error) {}
    ParseErrorObject(const ParseErrorObject&) = delete;
    ParseErrorObject& operator=(const ParseErrorObject&) = delete;

    HRESULT QueryInterface(REFIID iid, void** object) override;
    ULONG AddRef() override { return ++count_; }
    ULONG Release() override;
    HRESULT get_errorCode(LONG* code) override;
    HRESULT get_reason(BSTR* reason) override;
    HRESULT get_srcText(BSTR* text) override;
    HRESULT get_line(LONG* line) override;
    HRESULT get_linepos(LONG* column) override;
    HRESULT get_filepos(LONG* position) override;

private:
    ~ParseErrorObject() = default;

    const reader::ParseError error_;
    ULONG count_ = 1;
};

}  // namespace engine::dom
