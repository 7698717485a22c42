// Variants and the conversions between their types.
#include <charconv>
#include <limits>
#include <optional>
#include <string>

#include "engine/com/com.h"
#include "engine/com/status.h"

using engine::com::textOf;

namespace {

bool holdsObject(const VARIANT& variant) noexcept {
    return variant.vt == VT_DISPATCH || variant.vt == VT_UNKNOWN;
}

std::optional<LONG> parseLong(std::u16string_view text) {
    while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
    if (text.size() > 1 && text.front() == u'+' && text[1] != u'-') text.remove_prefix(1);
    std::string ascii;
    for (const char16_t unit : text) {
        if (unit > 0x7F) return std::nullopt;
        ascii.push_back(static_cast<char>(unit));
    }
    LONG value = 0;
    const auto [end, error] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), value);
    if (error != std::errc() || end != ascii.data() + ascii.size()) return std::nullopt;
    return value;
}

std::optional<bool> parseBool(std::u16string_view text) {
    if (text == u"True" || text == u"true" || text == u"#TRUE#") return true;
    if (text == u"False" || text == u"false" || text == u"#FALSE#") return false;
    if (const std::optional<LONG> number = parseLong(text)) return *number != 0;
    return std::nullopt;
}

HRESULT toBstr(const VARIANT& source, VARIANT& target) {
    std::u16string text;
    if (source.vt == VT_I4) {
        for (const char digit : std::to_string(source.lVal)) text.push_back(static_cast<char16_t>(digit));
    } else if (source.vt == VT_BOOL) {
        text = source.boolVal != VARIANT_FALSE ? u"True" : u"False";
    } else if (source.vt != VT_EMPTY) {
        return DISP_E_TYPEMISMATCH;
    }
    target.bstrVal = engine::com::makeBstr(text);
    return S_OK;
}

HRESULT toLong(const VARIANT& source, VARIANT& target) {
    if (source.vt == VT_EMPTY) {
        target.lVal = 0;
    } else if (source.vt == VT_BOOL) {
        target.lVal = source.boolVal;
    } else if (const auto number = source.vt == VT_BSTR ? parseLong(textOf(source.bstrVal)) : std::nullopt) {
        target.lVal = *number;
    } else {
        return DISP_E_TYPEMISMATCH;
    }
    return S_OK;
}

HRESULT toBool(const VARIANT& source, VARIANT& target) {
    if (source.vt == VT_EMPTY) {
        target.boolVal = VARIANT_FALSE;
    } else if (source.vt == VT_I4) {
        target.boolVal = source.lVal != 0 ? VARIANT_TRUE : VARIANT_FALSE;
    } else if (const auto truth = source.vt == VT_BSTR ? parseBool(textOf(source.bstrVal)) : std::nullopt) {
        target.boolVal = *truth ? VARIANT_TRUE : VARIANT_FALSE;
    } else {
        return DISP_E_TYPEMISMATCH;
    }
    return S_OK;
}

HRESULT toObject(const VARIANT& source, VARIANT& target, REFIID iid) {
    if (!holdsObject(source)) return DISP_E_TYPEMISMATCH;
    target.punkVal = nullptr;
    if (source.punkVal == nullptr) return S_OK;
    void* object = nullptr;
    if (FAILED(source.punkVal->QueryInterface(iid, &object))) return DISP_E_TYPEMISMATCH;
    if (iid == IID_IDispatch) {
        target.pdispVal = static_cast<IDispatch*>(object);
    } else {
        target.punkVal = static_cast<IUnknown*>(object);
    }
    return S_OK;
}

HRESULT convert(const VARIANT& source, VARIANT& target, VARTYPE type) {
    switch (type) {
        case VT_EMPTY:
            return source.vt == VT_NULL ? DISP_E_TYPEMISMATCH : S_OK;
        case VT_BSTR:
            return toBstr(source, target);
        case VT_I4:
            return toLong(source, target);
        case VT_BOOL:
            return toBool(source, target);
        case VT_DISPATCH:
            return toObject(source, target, IID_IDispatch);
        case VT_UNKNOWN:
            return toObject(source, target, IID_IUnknown);
        default:
            return DISP_E_TYPEMISMATCH;
    }
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

HRESULT VariantCopy(VARIANTARG* target, const VARIANTARG* source) noexcept {
    if (target == nullptr || source == nullptr) return E_INVALIDARG;
    if (target == source) return S_OK;
    VARIANT copy = *source;
    if (copy.vt == VT_BSTR && source->bstrVal != nullptr) {
        copy.bstrVal = SysAllocStringLen(source->bstrVal, SysStringLen(source->bstrVal));
        if (copy.bstrVal == nullptr) return E_OUTOFMEMORY;
    } else if (holdsObject(copy) && copy.punkVal != nullptr) {
        copy.punkVal->AddRef();
    }
    VariantClear(target);
    *target = copy;
    return S_OK;
}

HRESULT VariantChangeType(VARIANTARG* target, const VARIANTARG* source, USHORT, VARTYPE type) noexcept {
    if (target == nullptr || source == nullptr) return E_INVALIDARG;
    if (source->vt == type) return VariantCopy(target, source);
    return engine::com::guarded([&] {
        VARIANT converted{};
        const HRESULT status = convert(*source, converted, type);
        if (FAILED(status)) return status;
        converted.vt = type;
        VariantClear(target);
        *target = converted;
        return S_OK;
    });
}
