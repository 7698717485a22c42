// Variants, and the conversion of what a caller gives as a value into text.
#include <string>

#include "engine/com/com.h"
#include "engine/com/status.h"

namespace {

bool holdsObject(const VARIANT& variant) noexcept {
    return variant.vt == VT_DISPATCH || variant.vt == VT_UNKNOWN;
}

}  // namespace

void VariantInit(VARIANTARG* variant) noexcept {
    *variant = VARIANT{};
}

HRESULT VariantClear(VARIANTARG* variant) noexcept {
    if (variant == nullptr) return E_INVALIDARG;
    VARIANT old = *variant;
    VariantInit(variant);  // before the release: the last one may run code that looks here
    if (old.vt == VT_BSTR) {
        SysFreeString(old.bstrVal);
    } else if (holdsObject(old) && old.punkVal != nullptr) {
        old.punkVal->Release();
    }
    return S_OK;
}

HRESULT VariantChangeType(VARIANTARG* target, const VARIANTARG* source, USHORT, VARTYPE type) noexcept {
    if (target == nullptr || source == nullptr) return E_INVALIDARG;
    if (type != VT_BSTR) return DISP_E_TYPEMISMATCH;
    return engine::com::guarded([&]() -> HRESULT {
        std::u16string text;
        if (source->vt == VT_BSTR) {
            text = engine::com::textOf(source->bstrVal);
        } else if (source->vt == VT_I4) {
            for (const char digit : std::to_string(source->lVal))
                text.push_back(static_cast<char16_t>(digit));
        } else if (source->vt == VT_BOOL) {
            text = source->boolVal != VARIANT_FALSE ? u"True" : u"False";
        } else if (source->vt != VT_EMPTY) {
            return DISP_E_TYPEMISMATCH;
        }
        BSTR const converted = engine::com::makeBstr(text);
        VariantClear(target);
        target->bstrVal = converted;
        target->vt = VT_BSTR;
        return S_OK;
    });
}
