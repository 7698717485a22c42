// Between the engine's events and the newer handler: names are taken apart, declarations separated from
// attributes, exceptions of the handler carried over the engine, and the limit of depth kept.
#include "msxml_parser/detail/sax/saxevents.h"

#include <utility>

#include "KelBasicTypes/message.h"
#include "msxml_parser/detail/enginereports.h"
#include "msxml_parser/detail/text.h"

namespace msxml {
namespace {

KelSAXXmlName nameOf(std::u16string_view uri, std::u16string_view local,
                     std::u16string_view qualified) noexcept {
    const std::size_t prefix = qualified.size() > local.size() ? qualified.size() - local.size() - 1 : 0;
    return {qualified, local, qualified.substr(0, prefix), uri};
}

bool isDeclaration(std::u16string_view qualified) noexcept {
    return qualified.starts_with(u"xmlns") && (qualified.size() == 5 || qualified[5] == u':');
}

}  // namespace

void SaxEvents::begin(IKelSAXXmlHandlerV2& handler) {
    handler_ = &handler;
    isStopped_ = false;
    error_ = {};
    depth_ = 0;
    declaredCount_ = 0;
}

void SaxEvents::end() {
    handler_ = nullptr;
    locator_ = nullptr;
    if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
}

int SaxEvents::line() const {
    int line = 0;
    if (locator_ != nullptr) (void)locator_->getLineNumber(&line);  // what fails leaves 0
    return line;
}

int SaxEvents::column() const {
    int column = 0;
    if (locator_ != nullptr) (void)locator_->getColumnNumber(&column);
    return column;
}

template <typename Event>
HRESULT SaxEvents::deliver(Event&& event) noexcept {
    if (handler_ == nullptr || thrown_) return E_ABORT;
    try {
        event(*handler_);
    } catch (...) {
        thrown_ = std::current_exception();
    }
    return isStopped_ || thrown_ ? E_ABORT : S_OK;
}

HRESULT STDMETHODCALLTYPE SaxEvents::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ISAXContentHandler)) {
        *object = static_cast<ISAXContentHandler*>(this);
    } else if (IsEqualIID(iid, IID_ISAXLexicalHandler)) {
        *object = static_cast<ISAXLexicalHandler*>(this);
    } else if (IsEqualIID(iid, IID_ISAXErrorHandler)) {
        *object = static_cast<ISAXErrorHandler*>(this);
    }
    return *object != nullptr ? S_OK : E_NOINTERFACE;
}

HRESULT STDMETHODCALLTYPE SaxEvents::putDocumentLocator(ISAXLocator* locator) {
    locator_ = locator;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SaxEvents::startDocument() {
    return deliver([](IKelSAXXmlHandlerV2& handler) { handler.startDocument(); });
}

HRESULT STDMETHODCALLTYPE SaxEvents::endDocument() {
    return deliver([](IKelSAXXmlHandlerV2& handler) { handler.endDocument(); });
}

// Kept for the element that declares it: it comes next.
HRESULT STDMETHODCALLTYPE SaxEvents::startPrefixMapping(const OLECHAR* prefix, int prefixLength,
                                                        const OLECHAR* uri, int uriLength) {
    return deliver([&](IKelSAXXmlHandlerV2&) {
        if (declaredCount_ == declared_.size()) declared_.emplace_back();
        Declared& one = declared_[declaredCount_++];
        one.prefix = textOfEvent(prefix, prefixLength);
        one.uri = textOfEvent(uri, uriLength);
    });
}

HRESULT STDMETHODCALLTYPE SaxEvents::endPrefixMapping(const OLECHAR*, int) {
    return S_OK;
}

void SaxEvents::readAttributes(ISAXAttributes& attributes) {
    const auto check = [](HRESULT status) {
        if (FAILED(status)) throw _com_error(status);
    };
    int count = 0;
    check(attributes.getLength(&count));
    for (int index = 0; index < count; ++index) {
        const OLECHAR* uri = nullptr;
        const OLECHAR* local = nullptr;
        const OLECHAR* qualified = nullptr;
        const OLECHAR* value = nullptr;
        int uriLength = 0;
        int localLength = 0;
        int qualifiedLength = 0;
        int valueLength = 0;
        check(
            attributes.getName(index, &uri, &uriLength, &local, &localLength, &qualified, &qualifiedLength));
        if (isDeclaration(textOfEvent(qualified, qualifiedLength))) continue;
        check(attributes.getValue(index, &value, &valueLength));
        attributes_.push_back({nameOf(textOfEvent(uri, uriLength), textOfEvent(local, localLength),
                                      textOfEvent(qualified, qualifiedLength)),
                               textOfEvent(value, valueLength)});
    }
}

void SaxEvents::showDeclarations() {
    declarations_.clear();
    for (std::size_t i = 0; i < declaredCount_; ++i)
        declarations_.push_back({declared_[i].prefix, declared_[i].uri});
    declaredCount_ = 0;
}

HRESULT SaxEvents::rejectDepth() noexcept {
    (void)deliver([&](IKelSAXXmlHandlerV2&) {
        KelString reason;
        kel::translate(reason, "Elements are nested more than %1 deep.", KelString(depthLimit_));
        error_ = {E_FAIL, true, line(), column(), std::move(reason)};
    });
    return E_ABORT;
}

HRESULT STDMETHODCALLTYPE SaxEvents::startElement(const OLECHAR* uri, int uriLength, const OLECHAR* localName,
                                                  int localNameLength, const OLECHAR* qualifiedName,
                                                  int qualifiedNameLength, ISAXAttributes* attributes) {
    if (depth_ == depthLimit_) return rejectDepth();
    ++depth_;
    return deliver([&](IKelSAXXmlHandlerV2& handler) {
        attributes_.clear();
        if (attributes != nullptr) readAttributes(*attributes);
        showDeclarations();
        handler.startElement(nameOf(textOfEvent(uri, uriLength), textOfEvent(localName, localNameLength),
                                    textOfEvent(qualifiedName, qualifiedNameLength)),
                             attributes_, declarations_);
    });
}

HRESULT STDMETHODCALLTYPE SaxEvents::endElement(const OLECHAR* uri, int uriLength, const OLECHAR* localName,
                                                int localNameLength, const OLECHAR* qualifiedName,
                                                int qualifiedNameLength) {
    --depth_;
    return deliver([&](IKelSAXXmlHandlerV2& handler) {
        handler.endElement(nameOf(textOfEvent(uri, uriLength), textOfEvent(localName, localNameLength),
                                  textOfEvent(qualifiedName, qualifiedNameLength)));
    });
}

HRESULT STDMETHODCALLTYPE SaxEvents::characters(const OLECHAR* text, int length) {
    return deliver([&](IKelSAXXmlHandlerV2& handler) { handler.characters(textOfEvent(text, length)); });
}

HRESULT STDMETHODCALLTYPE SaxEvents::ignorableWhitespace(const OLECHAR* text, int length) {
    return characters(text, length);
}

HRESULT STDMETHODCALLTYPE SaxEvents::processingInstruction(const OLECHAR* target, int targetLength,
                                                           const OLECHAR* data, int dataLength) {
    return deliver([&](IKelSAXXmlHandlerV2& handler) {
        handler.processingInstruction(textOfEvent(target, targetLength), textOfEvent(data, dataLength));
    });
}

HRESULT STDMETHODCALLTYPE SaxEvents::skippedEntity(const OLECHAR*, int) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SaxEvents::startDTD(const OLECHAR*, int, const OLECHAR*, int, const OLECHAR*, int) {
    return S_OK;
}
HRESULT STDMETHODCALLTYPE SaxEvents::endDTD() {
    return S_OK;
}
HRESULT STDMETHODCALLTYPE SaxEvents::startEntity(const OLECHAR*, int) {
    return S_OK;
}
HRESULT STDMETHODCALLTYPE SaxEvents::endEntity(const OLECHAR*, int) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SaxEvents::startCDATA() {
    return deliver([](IKelSAXXmlHandlerV2& handler) { handler.startCData(); });
}

HRESULT STDMETHODCALLTYPE SaxEvents::endCDATA() {
    return deliver([](IKelSAXXmlHandlerV2& handler) { handler.endCData(); });
}

HRESULT STDMETHODCALLTYPE SaxEvents::comment(const OLECHAR* text, int length) {
    return deliver([&](IKelSAXXmlHandlerV2& handler) { handler.comment(textOfEvent(text, length)); });
}

HRESULT STDMETHODCALLTYPE SaxEvents::error(ISAXLocator* locator, const OLECHAR* message, HRESULT code) {
    return fatalError(locator, message, code);
}

HRESULT STDMETHODCALLTYPE SaxEvents::fatalError(ISAXLocator* locator, const OLECHAR* message, HRESULT code) {
    if (error_.status != S_OK || thrown_ || isStopped_) return S_OK;  // the platform reports that, too
    try {
        error_.reason = trimmedReason(message);
    } catch (...) {
        thrown_ = std::current_exception();
    }
    error_.status = code;
    error_.isLimit = isLimitStatus(code);
    if (locator == nullptr) return S_OK;
    (void)locator->getLineNumber(&error_.line);
    (void)locator->getColumnNumber(&error_.column);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SaxEvents::ignorableWarning(ISAXLocator*, const OLECHAR*, HRESULT) {
    return S_OK;
}

}  // namespace msxml
