#include "engine/dom/parseerror.h"

#include <algorithm>
#include <limits>

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

}  // namespace engine::dom
