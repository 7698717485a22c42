#include <stdexcept>

#include "engine/com/extension.h"
#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/text/utf.h"
#include "tests/conformance/canonical.h"
#include "tests/conformance/subject.h"

namespace conformance {
namespace {

using engine::com::Ref;

// A text of COM's that is ours to free.
class Text final {
public:
    Text() = default;
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { SysFreeString(text_); }
    BSTR* receive() { return &text_; }
    [[nodiscard]] std::string utf8() const {
        return text_ == nullptr ? std::string() : engine::text::toUtf8({text_, SysStringLen(text_)});
    }

private:
    BSTR text_ = nullptr;
};

void demand(HRESULT status) {
    if (FAILED(status)) throw std::runtime_error("the document's tree returns a failure");
}

std::string nameOf(IXMLDOMNode& node) {
    Text name;
    demand(node.get_nodeName(name.receive()));
    return name.utf8();
}

std::string valueOf(IXMLDOMNode& node) {
    VARIANT value;
    VariantInit(&value);
    demand(node.get_nodeValue(&value));
    std::string text;
    if (value.vt == VT_BSTR) text = engine::text::toUtf8({value.bstrVal, SysStringLen(value.bstrVal)});
    VariantClear(&value);
    return text;
}

CanonicalWriter::Attributes attributesOf(IXMLDOMNode& element) {
    Ref<IXMLDOMNamedNodeMap> map;
    demand(element.get_attributes(map.receive()));
    LONG count = 0;
    demand(map->get_length(&count));
    CanonicalWriter::Attributes attributes;
    for (LONG i = 0; i < count; ++i) {
        Ref<IXMLDOMNode> attribute;
        demand(map->get_item(i, attribute.receive()));
        attributes.emplace_back(nameOf(*attribute), valueOf(*attribute));
    }
    return attributes;
}

class TreeReport {
public:
    [[nodiscard]] std::string write(IXMLDOMNode& document) {
        Ref<IXMLDOMNode> node;
        demand(document.get_firstChild(node.receive()));
        while (node) {
            enter(*node);
            node = following(std::move(node));
        }
        return report_.text();
    }

private:
    static DOMNodeType typeOf(IXMLDOMNode& node) {
        DOMNodeType type = NODE_INVALID;
        demand(node.get_nodeType(&type));
        return type;
    }

    void enter(IXMLDOMNode& node) {
        switch (typeOf(node)) {
            case NODE_ELEMENT:
                report_.startElement(nameOf(node), attributesOf(node));
                break;
            case NODE_TEXT:
            case NODE_CDATA_SECTION:
                report_.characters(valueOf(node));
                break;
            case NODE_PROCESSING_INSTRUCTION:
                report_.processingInstruction(nameOf(node), valueOf(node));
                break;
            default:
                break;
        }
    }

    // The next node in document order; ends the elements that are left on the way.
    Ref<IXMLDOMNode> following(Ref<IXMLDOMNode> node) {
        Ref<IXMLDOMNode> next;
        demand(node->get_firstChild(next.receive()));
        if (next) return next;
        while (node) {
            const DOMNodeType type = typeOf(*node);
            if (type == NODE_DOCUMENT) break;
            if (type == NODE_ELEMENT) report_.endElement(nameOf(*node));
            demand(node->get_nextSibling(next.receive()));
            if (next) return next;
            Ref<IXMLDOMNode> parent;
            demand(node->get_parentNode(parent.receive()));
            node = std::move(parent);
        }
        return {};
    }

    CanonicalWriter report_;
};

std::string reasonOf(IXMLDOMDocument2& document) {
    Ref<IXMLDOMParseError> error;
    demand(document.get_parseError(error.receive()));
    LONG line = 0;
    LONG column = 0;
    Text reason;
    demand(error->get_line(&line));
    demand(error->get_linepos(&column));
    demand(error->get_reason(reason.receive()));
    return std::to_string(line) + ":" + std::to_string(column) + ": " + reason.utf8();
}

bool loadText(IXMLDOMDocument2& document, const std::u16string& text) {
    const BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const HRESULT status = document.loadXML(copy, &loaded);
    SysFreeString(copy);
    return SUCCEEDED(status) && loaded == VARIANT_TRUE;
}

bool loadFile(IXMLDOMDocument2& document, const std::string& path) {
    const std::u16string address = engine::text::toUtf16(path);
    VARIANT source;
    VariantInit(&source);
    source.vt = VT_BSTR;
    source.bstrVal = SysAllocStringLen(address.data(), static_cast<UINT>(address.size()));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const HRESULT status = document.load(source, &loaded);
    VariantClear(&source);
    return SUCCEEDED(status) && loaded == VARIANT_TRUE;
}

// Bytes written to and read from, as COM has streams.
class Bytes final : public engine::com::Object<Bytes, ISequentialStream> {
public:
    HRESULT Read(void* to, ULONG count, ULONG* done) override {
        *done = static_cast<ULONG>(text.copy(static_cast<char*>(to), count, position_));
        position_ += *done;
        return S_OK;
    }
    HRESULT Write(const void* from, ULONG count, ULONG* done) override {
        text.append(static_cast<const char*>(from), count);
        *done = count;
        return S_OK;
    }

    std::string text;

private:
    std::size_t position_ = 0;
};

bool loadStream(IXMLDOMDocument2& document, Bytes& bytes) {
    VARIANT source;
    VariantInit(&source);
    source.vt = VT_UNKNOWN;
    source.punkVal = &bytes;
    VARIANT_BOOL loaded = VARIANT_FALSE;
    return SUCCEEDED(document.load(source, &loaded)) && loaded == VARIANT_TRUE;
}

std::string written(IXMLDOMDocument2& document) {
    Ref<IXMLDocumentExtension> extension;
    demand(document.QueryInterface(IID_IXMLDocumentExtension, reinterpret_cast<void**>(extension.receive())));
    const auto bytes = engine::com::make<Bytes>();
    constexpr XMLWriteSettings kAsLoaded{};
    demand(extension->write(bytes.get(), &kAsLoaded));
    return bytes->text;
}

// How the document differs once `saved` has been read back; empty: not at all.
std::string lossOf(IXMLDOMDocument2& document, const std::string& saved, const std::string& canonical) {
    const auto bytes = engine::com::make<Bytes>();
    bytes->text = saved;
    if (!loadStream(document, *bytes)) return "what was written is rejected: " + reasonOf(document);
    if (written(document) != saved) return "what was written is written otherwise a second time";
    if (TreeReport().write(document) != canonical) return "what was written says something else";
    return {};
}

template <class Load, class Source>
Outcome tryLoading(Load load, const Source& source) {
    Outcome outcome;
    Ref<IXMLDOMDocument2> document;
    demand(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                            reinterpret_cast<void**>(document.receive())));
    demand(document->put_async(VARIANT_FALSE));
    demand(document->put_preserveWhiteSpace(VARIANT_TRUE));
    outcome.accepted = load(*document, source);
    if (outcome.accepted) {
        outcome.canonical = TreeReport().write(*document);
        outcome.saved = written(*document);
        outcome.contradiction = lossOf(*document, outcome.saved, outcome.canonical);
    } else {
        outcome.reason = reasonOf(*document);
    }
    return outcome;
}

}  // namespace

Outcome tryDocument(const std::string& path) {
    return tryLoading(loadFile, path);
}

Outcome tryDocumentText(const std::u16string& text) {
    return tryLoading(loadText, text);
}

}  // namespace conformance
