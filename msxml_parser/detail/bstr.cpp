#include "msxml_parser/detail/bstr.h"

#include <limits>

namespace msxml {
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

}  // namespace msxml
