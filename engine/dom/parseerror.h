// The record of one load or validation, as a COM object. It counts from 1 and never changes.
#pragma once

#include "engine/com/object.h"
#include "engine/reader/events.h"

namespace engine::dom {

class ParseErrorObject final : public com::Object<ParseErrorObject, IXMLDOMParseError> {
public:
    explicit ParseErrorObject(const reader::ParseError& error) : error_(error) {}

    HRESULT get_errorCode(LONG* code) override;
    HRESULT get_reason(BSTR* reason) override;
    HRESULT get_srcText(BSTR* text) override;
    HRESULT get_line(LONG* line) override;
    HRESULT get_linepos(LONG* column) override;
    HRESULT get_filepos(LONG* position) override;

private:
    const reader::ParseError error_;
};

}  // namespace engine::dom
