// Templates and processors as COM objects over StyleSheet: parameters, messages, and results as text, events
// or bytes.
#include "engine/xslt/template.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "engine/com/status.h"
#include "engine/dom/livetree.h"
#include "engine/libstate/libstate.h"
#include "engine/text/chars.h"
#include "engine/text/utf.h"
#include "engine/text/worded.h"
#include "engine/xslt/resultevents.h"

namespace engine::xslt {

namespace {

using com::Exception;
using com::guarded;

dom::NodeSource sourceOf(IUnknown* node, const char* what) {
    dom::Binding* const binding = dom::Binding::of(node);
    if (binding == nullptr)
        throw Exception(E_INVALIDARG,
                        std::string(what) + " is not an element or document of this XML library.");
    return binding->liveTree().source(binding->node());
}

bool holdsObject(const VARIANT& value) noexcept {
    return (value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN) && value.punkVal != nullptr;
}

template <typename T>
com::Ref<T> partOf(IUnknown& object, REFIID iid) {
    void* part = nullptr;
    if (FAILED(object.QueryInterface(iid, &part))) return {};
    return com::Ref<T>::adopt(static_cast<T*>(part));
}

// Throws the status of a receiver that fails.
void deliver(IXSLReports* reports, const std::vector<Report>& said) {
    if (reports == nullptr) return;
    for (const Report& one : said) {
        const std::u16string text = text::toUtf16(one.text);
        const HRESULT status = one.kind == Report::Kind::Warning
                                   ? reports->warning(text.c_str())
                                   : reports->message(text.c_str(), one.kind == Report::Kind::LastMessage);
        if (FAILED(status)) throw Exception(status, "The receiver of messages failed.");
    }
}

void writeAll(ISequentialStream& stream, std::string_view bytes) {
    constexpr std::size_t kMax = std::size_t{1} << 30;
    while (!bytes.empty()) {
        ULONG done = 0;
        const HRESULT status =
            stream.Write(bytes.data(), static_cast<ULONG>(std::min(bytes.size(), kMax)), &done);
        if (FAILED(status) || done == 0)
            throw Exception(FAILED(status) ? status : E_FAIL,
                            text::worded("The stream took no more of the result."));
        bytes.remove_prefix(std::min<std::size_t>(done, bytes.size()));
    }
}

std::variant<std::string, double, bool> valueOf(const VARIANT& value) {
    switch (value.vt) {
        case VT_BSTR:
            return text::toUtf8(com::textOf(value.bstrVal));
        case VT_R8:
            return value.dblVal;
        case VT_I4:
            return static_cast<double>(value.lVal);
        case VT_BOOL:
            return value.boolVal != VARIANT_FALSE;
        default:
            throw Exception(E_INVALIDARG, "The value of a parameter is a text, a number or a truth value.");
    }
}

}  // namespace

HRESULT Template::create(REFIID iid, void** object) noexcept {
    return guarded([&] { return com::make<Template>()->QueryInterface(iid, object); });
}

HRESULT Template::putref_stylesheet(IXMLDOMNode* styleSheet) {
    return guarded([&] {
        if (styleSheet == nullptr) throw Exception(E_INVALIDARG, "There is no style sheet.");
        const dom::NodeSource source = sourceOf(styleSheet, "The style sheet");
        checkStyleNode(source);
        libstate::initialiseLibxslt();
        auto style = std::make_unique<KeptStyle>(source);
        style_ = std::move(style);
        node_ = com::Ref<IXMLDOMNode>::share(styleSheet);
        deliver(reports_.get(), style_->sheet.warnings());
        return S_OK;
    });
}

HRESULT Template::createProcessor(IXSLProcessor** processor) {
    return com::give(processor, "createProcessor",
                     [&] { return com::make<Processor>(com::Ref<Template>::share(this)); });
}

HRESULT Template::putReports(IXSLReports* reports) {
    reports_ = com::Ref<IXSLReports>::share(reports);
    return S_OK;
}

StyleSheet& Template::current() {
    if (style_ == nullptr) throw Exception(E_FAIL, "The template has no style sheet.");
    const dom::NodeSource source = sourceOf(node_.get(), "The style sheet");
    if (style_->node != source.node || style_->revision != source.tree.revision())
        style_ = std::make_unique<KeptStyle>(source);
    return style_->sheet;
}

HRESULT Processor::put_input(VARIANT input) {
    return guarded([&] {
        if (!holdsObject(input)) throw Exception(E_INVALIDARG, "The input is a document or a node.");
        checkSourceNode(sourceOf(input.punkVal, "The input"));
        input_ = com::Ref<IUnknown>::share(input.punkVal);
        return S_OK;
    });
}

HRESULT Processor::put_output(VARIANT output) {
    return guarded([&] {
        com::Ref<ISequentialStream> stream;
        com::Ref<dom::IContentTarget> document;
        if (holdsObject(output)) {
            document = partOf<dom::IContentTarget>(*output.punkVal, dom::IID_IContentTarget);
            if (!document) stream = partOf<ISequentialStream>(*output.punkVal, IID_ISequentialStream);
        }
        const bool isNone = output.vt == VT_EMPTY || output.vt == VT_NULL;
        if (!isNone && !stream && !document)
            throw Exception(E_INVALIDARG, "The output is a stream, or a document of this XML library.");
        output_ = com::Ref<IUnknown>::share(isNone ? nullptr : output.punkVal);
        stream_ = std::move(stream);
        document_ = std::move(document);
        return S_OK;
    });
}

HRESULT Processor::get_output(VARIANT* output) {
    if (output == nullptr) return com::nullPointer("get_output");
    VariantInit(output);
    return guarded([&] {
        if (output_) {
            output->punkVal = com::Ref<IUnknown>(output_).detach();
            output->vt = VT_UNKNOWN;
        } else {
            output->bstrVal = com::makeBstr(std::u16string_view(text_));
            output->vt = VT_BSTR;
        }
        return S_OK;
    });
}

HRESULT Processor::addParameter(BSTR name, VARIANT value, BSTR namespaceUri) {
    return guarded([&] {
        if (!text::isNcName(com::textOf(name)))
            throw Exception(E_INVALIDARG, text::worded("'%1' is not a name that a parameter can have.",
                                                       text::toUtf8(com::textOf(name).substr(0, 100))));
        std::string full = text::toUtf8(com::textOf(name));
        if (!com::textOf(namespaceUri).empty())
            full = '{' + text::toUtf8(com::textOf(namespaceUri)) + '}' + full;
        std::vector<Parameter> changed = parameters_;
        std::erase_if(changed, [&](const Parameter& known) { return known.name == full; });
        if (value.vt != VT_EMPTY) changed.push_back({std::move(full), valueOf(value)});
        parameters_ = std::move(changed);
        return S_OK;
    });
}

HRESULT Processor::putReports(IXSLReports* reports) {
    reports_ = com::Ref<IXSLReports>::share(reports);
    return S_OK;
}

// What was said is delivered when libxslt is done: a receiver is the caller's code.
HRESULT Processor::transform(VARIANT_BOOL* done) {
    if (done == nullptr) return com::nullPointer("transform");
    *done = VARIANT_FALSE;
    return guarded([&] {
        std::vector<Report> said;
        RunOptions options;
        options.result = stream_ ? RunOptions::Result::Bytes : RunOptions::Result::Text;
        options.parameters = parameters_;
        if (reports_) options.reports = &said;
        try {
            run(options);
        } catch (...) {
            deliver(reports_.get(), said);
            throw;
        }
        deliver(reports_.get(), said);
        *done = VARIANT_TRUE;
        return S_OK;
    });
}

void Processor::run(const RunOptions& options) {
    if (!input_) throw Exception(E_FAIL, "There is no input to transform.");
    libstate::initialiseLibxslt();
    StyleSheet& sheet = template_->current();
    const xml2::DocHandle result = sheet.transform(sourceOf(input_.get(), "The input"), options);
    if (document_) {
        document_->replaceContent([&](reader::EventSink& events) { sendEvents(*result, events); });
    } else if (stream_) {
        writeAll(*stream_, sheet.saveBytes(*result));
    } else {
        text_ = sheet.save(*result);
    }
}

}  // namespace engine::xslt
