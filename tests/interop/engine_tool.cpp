// The engine's side of the comparisons in this folder:
//   engine_tool transform STYLE SOURCE                the result as UTF-8 on standard output
//   engine_tool transform-to-document STYLE SOURCE    the same by way of a result document; its text
//   engine_tool validate SCHEMA NAMESPACE SOURCE
// Exit status: 0 done or valid, 1 rejected, with the description on standard error, 2 wrong usage.
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/com/status.h"
#include "engine/text/utf.h"

namespace {

using engine::com::Ref;

class Text final {
public:
    explicit Text(std::string_view utf8) : text_(engine::com::makeBstr(utf8)) {}
    ~Text() { SysFreeString(text_); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    [[nodiscard]] BSTR get() const { return text_; }
    [[nodiscard]] BSTR* receive() {
        SysFreeString(text_);
        text_ = nullptr;
        return &text_;
    }
    [[nodiscard]] std::string utf8() const { return engine::text::toUtf8(engine::com::textOf(text_)); }
    [[nodiscard]] VARIANT variant() const {
        VARIANT value{};
        value.vt = VT_BSTR;
        value.bstrVal = text_;
        return value;
    }

private:
    BSTR text_;
};

[[noreturn]] void reject() {
    Ref<IErrorInfo> info;
    Text description("");
    if (GetErrorInfo(0, info.receive()) == S_OK) (void)info->GetDescription(description.receive());
    throw std::runtime_error(description.utf8());
}

void check(HRESULT status) {
    if (FAILED(status)) reject();
}

template <typename T>
Ref<T> create(REFCLSID clsid, REFIID iid) {
    Ref<T> object;
    check(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, reinterpret_cast<void**>(object.receive())));
    return object;
}

Ref<IXMLDOMDocument2> newDocument() {
    auto document = create<IXMLDOMDocument2>(CLSID_DOMDocument60, IID_IXMLDOMDocument2);
    check(document->put_preserveWhiteSpace(VARIANT_TRUE));  // as the other side does
    return document;
}

void reportError(const char* path, IXMLDOMParseError& error) {
    Text reason("");
    LONG line = 0;
    (void)error.get_reason(reason.receive());
    (void)error.get_line(&line);
    throw std::runtime_error(std::string(path) + ':' + std::to_string(line) + ": " + reason.utf8());
}

Ref<IXMLDOMDocument2> load(const char* path) {
    auto document = newDocument();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    check(document->load(Text(path).variant(), &loaded));
    if (loaded != VARIANT_TRUE) {
        Ref<IXMLDOMParseError> error;
        check(document->get_parseError(error.receive()));
        reportError(path, *error);
    }
    return document;
}

Ref<IXMLDOMElement> rootOf(IXMLDOMDocument2& document) {
    Ref<IXMLDOMElement> root;
    check(document.get_documentElement(root.receive()));
    return root;
}

void transform(const char* stylePath, const char* sourcePath) {
    const auto style = load(stylePath);
    const auto source = load(sourcePath);
    Text result("");
    check(source->transformNode(rootOf(*style).get(), result.receive()));
    const std::string text = result.utf8();
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
}

void transformToDocument(const char* stylePath, const char* sourcePath) {
    const auto style = load(stylePath);
    const auto source = load(sourcePath);
    const auto result = newDocument();
    VARIANT output{};
    output.vt = VT_DISPATCH;
    output.pdispVal = result.get();
    check(source->transformNodeToObject(rootOf(*style).get(), output));
    Text text("");
    check(rootOf(*result)->get_text(text.receive()));
    std::puts(text.utf8().c_str());
}

void validate(const char* schema, const char* uri, const char* sourcePath) {
    const auto document = load(sourcePath);
    const auto cache = create<IXMLDOMSchemaCollection>(CLSID_XMLSchemaCache60, IID_IXMLDOMSchemaCollection);
    check(cache->add(Text(uri).get(), Text(schema).variant()));
    VARIANT schemas{};
    schemas.vt = VT_DISPATCH;
    schemas.pdispVal = cache.get();
    check(document->putref_schemas(schemas));
    Ref<IXMLDOMParseError> error;
    check(document->validate(error.receive()));
    LONG code = 0;
    (void)error->get_errorCode(&code);
    if (code != 0) reportError(sourcePath, *error);
}

bool run(int count, char** arguments) {
    const std::string_view verb = count > 1 ? arguments[1] : "";
    if (verb == "transform" && count == 4) {
        transform(arguments[2], arguments[3]);
    } else if (verb == "transform-to-document" && count == 4) {
        transformToDocument(arguments[2], arguments[3]);
    } else if (verb == "validate" && count == 5) {
        validate(arguments[2], arguments[3], arguments[4]);
    } else {
        return false;
    }
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    try {
        if (run(count, arguments)) return 0;
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    (void)std::fputs(
        "usage: engine_tool transform|transform-to-document STYLE SOURCE\n"
        "       engine_tool validate SCHEMA NAMESPACE SOURCE\n",
        stderr);
    return 2;
}
