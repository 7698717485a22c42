#include "msxml_parser/detail/text.h"

#include <limits>
#include <string>

#include "msxml_parser/detail/reasons.h"

namespace msxml {

KelString descriptionOf(const _com_error& error) {
    return translatedReason(descriptionTextOf(error));
}

KelString trimmedReason(const OLECHAR* message) {
    if (message == nullptr) return {};
    std::u16string_view reason(reinterpret_cast<const char16_t*>(message));  // one unit under two names
    while (!reason.empty() && reason.back() <= u' ') reason.remove_suffix(1);
    return translatedReason(reason);
}

namespace {

BSTR makeString(std::u16string_view text) {
    if (text.size() > std::numeric_limits<UINT>::max()) _com_issue_error(E_OUTOFMEMORY);
    // A null text of length 0 would give a string too, but its content is the caller's to fill.
    const char16_t* units = text.empty() ? u"" : text.data();
    const BSTR result = SysAllocStringLen(toOleChars(units), static_cast<UINT>(text.size()));
    if (result == nullptr) _com_issue_error(E_OUTOFMEMORY);
    return result;
}

}  // namespace

BStr::BStr(std::u16string_view text) : text_(makeString(text)) {}

Variant::Variant(std::u16string_view text) : Variant() {
    value_.bstrVal = makeString(text);
    value_.vt = VT_BSTR;
}

Variant::Variant(IDispatch* object) noexcept : Variant() {
    if (object != nullptr) object->AddRef();
    value_.pdispVal = object;
    value_.vt = VT_DISPATCH;
}

RejectionTexts readRejection(const ComPtr<IXMLDOMParseError>& record) {
    LONG line = 0;
    LONG column = 0;
    check(record->get_line(&line), record);
    check(record->get_linepos(&column), record);
    const SourcePosition position{static_cast<int>(line), static_cast<int>(column)};
    return {KelString(position.line), KelString(position.column), readReason(record), position};
}

KelString readReason(const ComPtr<IXMLDOMParseError>& record) {
    BStr reason;
    check(record->get_reason(reason.receive()), record);
    return translatedReason(reason.view());
}

bool holdsError(const ComPtr<IXMLDOMParseError>& record) {
    LONG code = 0;
    check(record->get_errorCode(&code), record);
    return code != 0;
}

}  // namespace msxml
