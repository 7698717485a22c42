#include "engine/dom/parseerror.h"

#include <algorithm>
#include <limits>

#include "engine/com/ref.h"
#include "engine/com/status.h"

namespace engine::dom {

namespace {

HRESULT giveText(const std::string& text, BSTR* result, const char* operation) noexcept {
    return com::give(result, operation, [&] { return com::makeBstr(std::string_view(text)); });
}

// What is too large for the interface is as large as it can be there.
HRESULT giveNumber(std::uint64_t number, LONG* result, const char* operation) noexcept {
    if (result == nullptr) return com::nullPointer(operation);
    constexpr std::uint64_t kLargest = std::numeric_limits<LONG>::max();
    *result = static_cast<LONG>(std::min(number, kLargest));
    return S_OK;
}

}  // namespace

HRESULT ParseErrorObject::get_errorCode(LONG* code) {
    if (code == nullptr) return com::nullPointer("get_errorCode");
    *code = error_.code;
    return error_.failed() ? S_OK : S_FALSE;
}

HRESULT ParseErrorObject::get_reason(BSTR* reason) {
    return giveText(error_.reason, reason, "get_reason");
}
HRESULT ParseErrorObject::get_srcText(BSTR* text) {
    return giveText(error_.sourceText, text, "get_srcText");
}
HRESULT ParseErrorObject::get_line(LONG* line) {
    return giveNumber(error_.position.line, line, "get_line");
}
HRESULT ParseErrorObject::get_linepos(LONG* column) {
    return giveNumber(error_.position.column, column, "get_linepos");
}
HRESULT ParseErrorObject::get_filepos(LONG* position) {
    return giveNumber(error_.filePosition, position, "get_filepos");
}
HRESULT ParseErrorObject::get_errorXPath(BSTR* path) {
    return giveText(path_, path, "get_errorXPath");
}

HRESULT ParseErrorObject::get_allErrors(IXMLDOMParseErrorCollection** errors) {
    return com::give(errors, "get_allErrors", [&] {
        if (all_ != nullptr) return com::make<ParseErrors>(all_);
        auto alone = std::make_shared<std::vector<reader::Violation>>();
        if (error_.failed()) alone->push_back({error_, path_});
        return com::make<ParseErrors>(std::move(alone));
    });
}

HRESULT ParseErrors::get_item(LONG index, IXMLDOMParseError2** error) {
    return com::give(error, "get_item", [&] {
        const bool isThere = index >= 0 && static_cast<std::size_t>(index) < all_->size();
        return isThere ? com::make<ParseErrorObject>(all_, static_cast<std::size_t>(index))
                       : com::Ref<ParseErrorObject>();
    });
}

HRESULT ParseErrors::get_length(LONG* length) {
    return giveNumber(all_->size(), length, "get_length");
}

}  // namespace engine::dom
