// The record of one load or validation, as a COM object. It counts from 1 and never changes.
#pragma once

#include <memory>
#include <vector>

#include "engine/com/object.h"
#include "engine/reader/events.h"
#include "engine/reader/schemastream.h"

namespace engine::dom {

class ParseErrorObject final : public com::Object<ParseErrorObject, IXMLDOMParseError2> {
public:
    using All = std::shared_ptr<const std::vector<reader::Violation>>;

    explicit ParseErrorObject(const source::ParseError& error) : error_(error) {}
    // One of those that a validation has found.
    ParseErrorObject(All all, std::size_t index)
        : error_((*all)[index].error), path_((*all)[index].path), all_(std::move(all)) {}

    HRESULT get_errorCode(LONG* code) override;
    HRESULT get_reason(BSTR* reason) override;
    HRESULT get_srcText(BSTR* text) override;
    HRESULT get_line(LONG* line) override;
    HRESULT get_linepos(LONG* column) override;
    HRESULT get_filepos(LONG* position) override;
    HRESULT get_errorXPath(BSTR* path) override;
    HRESULT get_allErrors(IXMLDOMParseErrorCollection** errors) override;

private:
    const source::ParseError error_;
    const std::string path_;
    const All all_;  // null: this error alone
};

class ParseErrors final : public com::Object<ParseErrors, IXMLDOMParseErrorCollection> {
public:
    explicit ParseErrors(ParseErrorObject::All all) noexcept : all_(std::move(all)) {}

    HRESULT get_item(LONG index, IXMLDOMParseError2** error) override;
    HRESULT get_length(LONG* length) override;

private:
    const ParseErrorObject::All all_;
};

}  // namespace engine::dom
