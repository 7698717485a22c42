// Events of the reader as calls of a content handler. Names are converted to UTF-16 once for each document
// and kept by their number; texts and attribute values go through one scratch buffer for each event.
#include "engine/sax/events.h"

#include <algorithm>
#include <limits>
#include <span>
#include <utility>

#include "engine/com/status.h"
#include "engine/text/utf.h"
#include "engine/text/worded.h"

namespace engine::sax {
namespace {

// A length for the handler. Texts this long are attribute values of gigabytes: rejected, not cut.
int lengthOf(std::u16string_view text) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw com::Exception(E_OUTOFMEMORY,
                             text::worded("A name or an attribute value is longer than a handler can take."));
    }
    return static_cast<int>(text.size());
}

constexpr const OLECHAR* kNothing = u"";

const OLECHAR* unitsOf(std::u16string_view text) noexcept {
    return text.empty() ? kNothing : text.data();
}

}  // namespace

void Utf16Scratch::start(std::size_t bytes) {
    used_ = 0;
    if (units_.size() < bytes) units_.resize(std::max(bytes, 2 * units_.size()));
}

std::u16string_view Utf16Scratch::add(std::string_view utf8) noexcept {
    char16_t* const to = units_.data() + used_;
    const std::size_t length = text::convertValid(utf8, to);
    used_ += length;
    return {to, length};
}

Utf16Names::Name Utf16Names::convert(tables::NameId id) {
    constexpr std::size_t kBlockInUnits = 2048;
    if (generation_ != names_->generation()) {
        known_.clear();
        blocks_.clear();
        blockSize_ = 0;
        generation_ = names_->generation();
    }
    if (id >= known_.size()) known_.resize(std::max<std::size_t>(id + std::size_t{1}, known_.size() * 2));
    const std::string_view text = names_->text(id);
    if (blockSize_ - blockUsed_ < text.size() || blockSize_ == 0) {
        const std::size_t size = std::max(kBlockInUnits, text.size());
        blocks_.push_back(std::make_unique_for_overwrite<char16_t[]>(size));
        blockSize_ = size;
        blockUsed_ = 0;
    }
    char16_t* const to = blocks_.back().get() + blockUsed_;
    const std::size_t length = text::convertValid(text, to);
    blockUsed_ += length;
    const std::uint32_t prefix = names_->prefixLength(id);
    const std::size_t localStart = prefix == 0 ? 0 : std::u16string_view(to, length).find(u':') + 1;
    known_[id] = {to, static_cast<std::uint32_t>(length), static_cast<std::uint32_t>(localStart)};
    return known_[id];
}

HRESULT SaxLocator::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_ISAXLocator) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<ISAXLocator*>(this);
    return S_OK;
}

ULONG SaxLocator::Release() {
    const std::uint32_t left = --count_;
    if (left == 0) delete this;
    return left;
}

HRESULT SaxLocator::getColumnNumber(int* column) {
    if (column == nullptr) return E_POINTER;
    *column = source_ == nullptr ? 0 : static_cast<int>(source_->position().column);
    return S_OK;
}

HRESULT SaxLocator::getLineNumber(int* line) {
    if (line == nullptr) return E_POINTER;
    *line = source_ == nullptr ? 0 : static_cast<int>(source_->position().line);
    return S_OK;
}

std::u16string_view Utf16Uris::of(const reader::Namespaces& names, tables::NameId attribute) {
    std::uint32_t index = 0;
    const reader::Namespaces::Binding* const binding = names.bindingOfAttribute(attribute, index);
    if (binding == nullptr) {
        const bool isPrefixed = (names.names().flags(attribute) & tables::Names::kPrefixed) != 0;
        return isPrefixed ? u"http://www.w3.org/XML/1998/namespace" : std::u16string_view();
    }
    if (index >= known_.size()) known_.resize(index + std::size_t{1});
    if (known_[index] == nullptr) known_[index] = std::make_unique<Uri>();
    Uri& known = *known_[index];
    if (known.binding != binding->serial) known = {binding->serial, text::toUtf16(binding->uri)};
    return known.units;
}

void SaxAttributes::set(std::span<const reader::IdAttribute> attributes, const reader::Namespaces& names,
                        Utf16Names& units, Utf16Scratch& scratch) {
    names_ = &names;
    shown_.clear();
    for (const reader::IdAttribute& attribute : attributes) {
        if ((names.names().flags(attribute.name) & tables::Names::kDeclaration) != 0) continue;
        const std::u16string_view value = scratch.add(attribute.value);
        shown_.push_back({units.of(attribute.name), unitsOf(value), static_cast<std::uint32_t>(value.size()),
                          attribute.name});
    }
}

HRESULT SaxAttributes::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_ISAXAttributes) return E_NOINTERFACE;
    *object = static_cast<ISAXAttributes*>(this);
    return S_OK;
}

const SaxAttributes::Shown* SaxAttributes::at(int index) const noexcept {
    return index < 0 || static_cast<std::size_t>(index) >= shown_.size()
               ? nullptr
               : &shown_[static_cast<std::size_t>(index)];
}

HRESULT SaxAttributes::getLength(int* count) {
    if (count == nullptr) return E_POINTER;
    *count = static_cast<int>(shown_.size());
    return S_OK;
}

HRESULT SaxAttributes::getLocalName(int index, const OLECHAR** name, int* length) {
    if (name == nullptr || length == nullptr) return E_POINTER;
    *name = nullptr;
    *length = 0;
    const Shown* const found = at(index);
    if (found == nullptr) return com::fail(E_INVALIDARG, "The element has no attribute of this index.");
    *name = unitsOf(found->units.local());
    *length = static_cast<int>(found->units.local().size());
    return S_OK;
}

HRESULT SaxAttributes::getName(int index, const OLECHAR** uri, int* uriLength, const OLECHAR** localName,
                               int* localNameLength, const OLECHAR** qualifiedName,
                               int* qualifiedNameLength) {
    if (uri == nullptr || uriLength == nullptr || qualifiedName == nullptr || qualifiedNameLength == nullptr)
        return E_POINTER;
    *uri = *qualifiedName = nullptr;
    *uriLength = *qualifiedNameLength = 0;
    const HRESULT status = getLocalName(index, localName, localNameLength);
    if (FAILED(status)) return status;
    const Shown& found = *at(index);
    return com::guarded([&] {
        const std::u16string_view namespaceUri = uris_.of(*names_, found.name);
        *uriLength = lengthOf(namespaceUri);
        *uri = unitsOf(namespaceUri);
        *qualifiedName = found.units.units;
        *qualifiedNameLength = static_cast<int>(found.units.length);
        return S_OK;
    });
}

HRESULT SaxAttributes::getValue(int index, const OLECHAR** value, int* length) {
    if (value == nullptr || length == nullptr) return E_POINTER;
    *value = nullptr;
    *length = 0;
    const Shown* const found = at(index);
    if (found == nullptr) return com::fail(E_INVALIDARG, "The element has no attribute of this index.");
    *value = found->value;
    *length = static_cast<int>(found->valueLength);
    return S_OK;
}

SaxEvents::~SaxEvents() {
    if (locator_) locator_->detach();
}

template <typename Call>
void SaxEvents::notify(Call&& call) {
    callHandler(handlers_.content.get(), inHandler_, std::forward<Call>(call));
}

void SaxEvents::startDocument(const reader::Locator& locator) {
    names_ = locator.namespaces();
    units_.follow(names_->names());
    locator_ = com::Ref<SaxLocator>::adopt(new SaxLocator(locator));
    notify([&](ISAXContentHandler& handler) { return handler.putDocumentLocator(locator_.get()); });
    notify([](ISAXContentHandler& handler) { return handler.startDocument(); });
}

void SaxEvents::endDocument() {
    notify([](ISAXContentHandler& handler) { return handler.endDocument(); });
}

std::u16string_view SaxEvents::uriOfElement() {
    std::uint32_t index = 0;
    const reader::Namespaces::Binding* const binding = names_->bindingOfElement(index);
    if (binding == nullptr) {
        if ((names_->names().flags(names_->elementId()) & tables::Names::kPrefixed) == 0) return {};
        const std::string_view uri = names_->element().uri;  // none, or that of the prefix xml
        if (uri.empty()) return {};
        rareUri_ = text::toUtf16(uri);
        return rareUri_;
    }
    if (index >= uris_.size()) uris_.resize(index + std::size_t{1});
    Uri& known = uris_[index];
    if (known.binding != binding->serial) known = {binding->serial, text::toUtf16(binding->uri)};
    return known.units;
}

void SaxEvents::startElement(std::string_view name, std::span<const reader::Attribute>) {
    startElement(names_->elementId(), name, names_->attributes());
}

void SaxEvents::startElement(tables::NameId id, std::string_view name,
                             std::span<const reader::IdAttribute> attributes) {
    if (!handlers_.content) return;
    for (const reader::NamespaceDeclaration& declared : names_->declarations()) {
        scratch_.start(declared.prefix.size() + declared.uri.size());
        const std::u16string_view prefix = scratch_.add(declared.prefix);
        const std::u16string_view uri = scratch_.add(declared.uri);
        notify([&](ISAXContentHandler& handler) {
            return handler.startPrefixMapping(unitsOf(prefix), lengthOf(prefix), unitsOf(uri), lengthOf(uri));
        });
    }
    std::size_t bytes = name.size();
    for (const reader::IdAttribute& attribute : attributes) bytes += attribute.value.size();
    if (bytes > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw com::Exception(E_OUTOFMEMORY, text::worded("A start tag is longer than a handler can take."));
    }
    scratch_.start(bytes);
    const std::u16string_view uri = uriOfElement();
    const Utf16Names::Name units = units_.of(id);
    attributes_.set(attributes, *names_, units_, scratch_);
    notify([&](ISAXContentHandler& handler) {
        return handler.startElement(unitsOf(uri), lengthOf(uri), units.local().data(),
                                    lengthOf(units.local()), units.units, lengthOf(units.qualified()),
                                    &attributes_);
    });
}

void SaxEvents::endElement(std::string_view) {
    if (!handlers_.content) return;
    const std::u16string_view uri = uriOfElement();
    const Utf16Names::Name units = units_.of(names_->elementId());
    notify([&](ISAXContentHandler& handler) {
        return handler.endElement(unitsOf(uri), lengthOf(uri), units.local().data(), lengthOf(units.local()),
                                  units.units, lengthOf(units.qualified()));
    });
    const auto declarations = names_->declarations();
    for (auto declared = declarations.rbegin(); declared != declarations.rend(); ++declared) {
        scratch_.start(declared->prefix.size());
        const std::u16string_view prefix = scratch_.add(declared->prefix);
        notify([&](ISAXContentHandler& handler) {
            return handler.endPrefixMapping(unitsOf(prefix), lengthOf(prefix));
        });
    }
}

// Texts come split between characters, so no surrogate pair is torn.
void SaxEvents::characters(std::string_view text) {
    if (!handlers_.content) return;
    scratch_.start(text.size());
    const std::u16string_view units = scratch_.add(text);
    notify([&](ISAXContentHandler& handler) { return handler.characters(units.data(), lengthOf(units)); });
}

void SaxEvents::startCData() {
    callHandler(handlers_.lexical.get(), inHandler_,
                [](ISAXLexicalHandler& handler) { return handler.startCDATA(); });
}

void SaxEvents::endCData() {
    callHandler(handlers_.lexical.get(), inHandler_,
                [](ISAXLexicalHandler& handler) { return handler.endCDATA(); });
}

void SaxEvents::comment(std::string_view text) {
    if (!handlers_.lexical) return;
    scratch_.start(text.size());
    const std::u16string_view units = scratch_.add(text);
    callHandler(handlers_.lexical.get(), inHandler_, [&](ISAXLexicalHandler& handler) {
        return handler.comment(unitsOf(units), lengthOf(units));
    });
}

void SaxEvents::processingInstruction(std::string_view target, std::string_view data) {
    if (!handlers_.content) return;
    scratch_.start(target.size() + data.size());
    const std::u16string_view name = scratch_.add(target);
    const std::u16string_view rest = scratch_.add(data);
    notify([&](ISAXContentHandler& handler) {
        return handler.processingInstruction(unitsOf(name), lengthOf(name), unitsOf(rest), lengthOf(rest));
    });
}

}  // namespace engine::sax
