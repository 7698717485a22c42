#include "engine/sax/saxreader.h"

#include <new>
#include <string>
#include <utility>

#include "engine/com/classtable.h"
#include "engine/com/status.h"
#include "engine/reader/detail/parse.h"
#include "engine/sax/events.h"

namespace engine::sax {

HRESULT SaxReader::create(REFIID iid, void** object) noexcept {
    auto created = com::Ref<SaxReader>::adopt(new (std::nothrow) SaxReader);
    if (!created) return com::fail(E_OUTOFMEMORY, "There is no memory for a reader.");
    return created->QueryInterface(iid, object);
}

HRESULT SaxReader::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_ISAXXMLReader) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<ISAXXMLReader*>(this);
    return S_OK;
}

ULONG SaxReader::AddRef() {
    return ++count_;
}

ULONG SaxReader::Release() {
    const std::uint32_t left = --count_;
    if (left == 0) delete this;
    return left;
}

HRESULT SaxReader::putContentHandler(ISAXContentHandler* handler) {
    return com::guarded([&] {
        auto next = com::Ref<ISAXContentHandler>::share(handler);
        if (isParsing_) retired_.push_back(handler_);
        handler_ = std::move(next);
        return S_OK;
    });
}

HRESULT SaxReader::parseURL(const OLECHAR* url) {
    if (url == nullptr) return com::fail(E_POINTER, "There is no path or address to read from.");
    reader::Input input;
    const HRESULT status = com::guarded([&] {
        input = reader::Input::location(url);
        return S_OK;
    });
    if (FAILED(status)) return status;
    reader::ReadOptions options;
    options.dtd = reader::ReadOptions::Dtd::Internal;
    return parse(input, options);
}

HRESULT SaxReader::parse(const reader::Input& input, const reader::ReadOptions& options) {
    if (isParsing_)
        return com::fail(E_UNEXPECTED, "The reader is reading already: an event cannot start another parse.");
    // The caller may let go of the reader during an event.
    const auto self = com::Ref<SaxReader>::share(this);
    struct Parsing {
        SaxReader& reader;
        explicit Parsing(SaxReader& r) : reader(r) { reader.isParsing_ = true; }
        ~Parsing() {
            reader.isParsing_ = false;
            reader.retired_.clear();
        }
    } const parsing(*this);
    bool inHandler = false;
    try {
        return parseGuarded(input, options, inHandler);
    } catch (const HandlerStatus& ended) {
        return ended.status;
    } catch (...) {
        if (inHandler) throw;
        return com::detail::translateException();
    }
}

namespace {

// reader::read with the parser compiled into this sink.
reader::ParseError read(const reader::Input& input, const reader::ReadOptions& options, SaxEvents& events) {
    using reader::detail::TextSource;
    TextSource source(input, options, TextSource::Extent::Window);
    if (const reader::detail::Fault fault = source.open()) return source.describe(fault);
    return reader::detail::parse(source, options, events);
}

}  // namespace

HRESULT SaxReader::parseGuarded(const reader::Input& input, const reader::ReadOptions& options,
                                bool& inHandler) {
    lastError_ = {};
    SaxEvents events(handler_, inHandler);
    lastError_ = read(input, options, events);
    if (!lastError_.failed()) return S_OK;
    std::string description = lastError_.reason;
    if (lastError_.position.line != 0) {
        description = "Line " + std::to_string(lastError_.position.line) + ", column " +
                      std::to_string(lastError_.position.column) + ": " + description;
    }
    return com::fail(lastError_.code, description);
}

}  // namespace engine::sax

namespace {

engine::com::ClassEntry readerClass{CLSID_SAXXMLReader, engine::sax::SaxReader::create};

}  // namespace

// The name by which the link takes this file in; see CMakeLists.txt.
extern "C" const bool engineSaxRegistered;
const bool engineSaxRegistered = engine::com::registerClass(readerClass);
