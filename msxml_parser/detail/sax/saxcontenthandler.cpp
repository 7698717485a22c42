#include "msxml_parser/detail/sax/saxcontenthandler.h"

#include <utility>

#include "msxml_parser/detail/text.h"

using msxml::textOfEvent;

// Intentional: identity and counting do nothing.
HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::QueryInterface(REFIID, void**) {
    return S_OK;
}
ULONG STDMETHODCALLTYPE SAXContentHandlerImpl::AddRef() {
    return 0;
}
ULONG STDMETHODCALLTYPE SAXContentHandlerImpl::Release() {
    return 0;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::putDocumentLocator(ISAXLocator*) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::startDocument() {
    depth_ = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::endDocument() {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::startPrefixMapping(const OLECHAR*, int, const OLECHAR*,
                                                                    int) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::endPrefixMapping(const OLECHAR*, int) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::startElement(const OLECHAR*, int, const OLECHAR* localName,
                                                              int localNameLength, const OLECHAR*, int,
                                                              ISAXAttributes* attributes) {
    if (receivers_.empty()) return S_OK;
    currentText_.assign(textOfEvent(localName, localNameLength));
    emptyAttributes();
    if (attributes != nullptr) readAttributes(*attributes);
    receivers_.back()->startElement(currentText_, depth_, attributes_);
    ++depth_;
    return S_OK;
}

// Intentional: the depth goes down even where no receiver let it go up. See behaviour.md, "SAX depth".
HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::endElement(const OLECHAR*, int, const OLECHAR* localName,
                                                            int localNameLength, const OLECHAR*, int) {
    if (!receivers_.empty()) {
        currentText_.assign(textOfEvent(localName, localNameLength));
        receivers_.back()->endElement(currentText_);
    }
    --depth_;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::characters(const OLECHAR* text, int length) {
    if (receivers_.empty()) return S_OK;
    currentText_.assign(textOfEvent(text, length));
    receivers_.back()->characters(currentText_);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::ignorableWhitespace(const OLECHAR*, int) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::processingInstruction(const OLECHAR*, int, const OLECHAR*,
                                                                       int) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SAXContentHandlerImpl::skippedEntity(const OLECHAR*, int) {
    return S_OK;
}

void SAXContentHandlerImpl::readAttributes(ISAXAttributes& attributes) {
    int count = 0;
    (void)attributes.getLength(&count);  // what fails here leaves the lengths at 0
    for (int index = 0; index < count; ++index) {
        const OLECHAR* text = nullptr;
        int length = 0;
        (void)attributes.getLocalName(index, &text, &length);
        attributeName_.assign(textOfEvent(text, length));
        text = nullptr;
        length = 0;
        (void)attributes.getValue(index, &text, &length);
        attributeValue_.assign(textOfEvent(text, length));
        addAttribute();
    }
}

void SAXContentHandlerImpl::emptyAttributes() {
    spareEntries_.reserve(spareEntries_.size() + attributes_.size());
    while (!attributes_.empty()) spareEntries_.push_back(attributes_.extract(attributes_.begin()));
}

// Puts the attribute just read into the map; of two with one name the first one stays.
void SAXContentHandlerImpl::addAttribute() {
    if (spareEntries_.empty()) {
        attributes_.emplace(attributeName_, attributeValue_);
        return;
    }
    KelSAXXmlAttributes::node_type& entry = spareEntries_.back();
    entry.key().swap(attributeName_);
    entry.mapped().swap(attributeValue_);
    KelSAXXmlAttributes::insert_return_type inserted = attributes_.insert(std::move(entry));
    if (inserted.inserted) {
        spareEntries_.pop_back();
    } else {
        spareEntries_.back() = std::move(inserted.node);
    }
}
