// What the fuzz targets above the reader share: two documents out of one input, through the COM interfaces.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "engine/com/blocks.h"
#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/com/status.h"
#include "engine/text/utf.h"

namespace fuzz {

using engine::com::Ref;
using DocumentRef = Ref<IXMLDOMDocument2>;

// A line "%%" stands between the two; without it the second is empty.
struct Pair {
    std::string_view first;
    std::string_view second;
};
inline Pair split(const std::uint8_t* data, std::size_t size) {
    constexpr std::string_view kBorder = "\n%%\n";
    const std::string_view all(reinterpret_cast<const char*>(data), size);
    const std::size_t at = all.find(kBorder);
    if (at == std::string_view::npos) return {all, {}};
    return {all.substr(0, at), all.substr(at + kBorder.size())};
}

[[noreturn]] inline void fail(const char* what, const std::string& details = {}) {
    std::fprintf(stderr, "%s\n%s\n", what, details.c_str());
    std::abort();
}

class Text final {
public:
    explicit Text(std::string_view utf8) {
        const std::u16string units = engine::text::toUtf16(utf8);
        text_ = SysAllocStringLen(units.data(), static_cast<UINT>(units.size()));
    }
    Text() = default;
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { SysFreeString(text_); }

    [[nodiscard]] BSTR get() const { return text_; }
    [[nodiscard]] BSTR* receive() { return &text_; }
    [[nodiscard]] VARIANT variant() const {
        VARIANT value{};
        value.vt = VT_BSTR;
        value.bstrVal = text_;
        return value;
    }
    [[nodiscard]] std::string utf8() const { return engine::text::toUtf8(engine::com::textOf(text_)); }

private:
    BSTR text_ = nullptr;
};

inline DocumentRef newDocument() {
    DocumentRef document;
    (void)CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                           reinterpret_cast<void**>(document.receive()));
    (void)document->put_preserveWhiteSpace(VARIANT_TRUE);
    return document;
}

// Empty if the text is no document.
inline DocumentRef parse(std::string_view utf8) {
    DocumentRef document = newDocument();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    (void)document->loadXML(Text(utf8).get(), &loaded);
    return loaded == VARIANT_TRUE ? document : DocumentRef();
}

// The description of the thread's last failure; a failure must have one.
inline std::string takeDescription() {
    Ref<IErrorInfo> info;
    if (GetErrorInfo(0, info.receive()) != S_OK) fail("a failure without a description");
    Text description;
    (void)info->GetDescription(description.receive());
    return description.utf8();
}

// Ends the run if an object or string of the engine outlives it.
class NothingLost final {
public:
    NothingLost() = default;
    NothingLost(const NothingLost&) = delete;
    NothingLost& operator=(const NothingLost&) = delete;
    ~NothingLost() {
        if (engine::com::blocksInUse() != before_) fail("objects or strings were lost");
    }

private:
    const std::int64_t before_ = engine::com::blocksInUse();
};

}  // namespace fuzz
