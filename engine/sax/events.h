// From the reader's events to the calls of a content handler.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/reader/events.h"

namespace engine::sax {

// Thrown through the reader when a handler returns a failing status.
struct HandlerStatus {
    HRESULT status;
};

// UTF-16 of a few texts that live together, for one call of the handler. Keeps its memory.
class Utf16Scratch final {
public:
    // Makes room for texts of this many UTF-8 bytes in all and forgets those before.
    void start(std::size_t bytes);
    [[nodiscard]] std::u16string_view add(std::string_view utf8) noexcept;

private:
    std::vector<char16_t> units_;
    std::size_t used_ = 0;
};

// The names of a document in UTF-16, each converted once.
class Utf16Names final {
public:
    struct Name {
        const char16_t* units = nullptr;  // live as long as the names' generation
        std::uint32_t length = 0;
        std::uint32_t localStart = 0;
        [[nodiscard]] std::u16string_view qualified() const noexcept { return {units, length}; }
        [[nodiscard]] std::u16string_view local() const noexcept { return qualified().substr(localStart); }
    };

    // Borrows the names, and forgets its own when those are put together anew.
    void follow(const tables::Names& names) noexcept { names_ = &names; }
    [[nodiscard]] Name of(tables::NameId id) {
        if (id < known_.size() && generation_ == names_->generation() && known_[id].units != nullptr)
            return known_[id];
        return convert(id);
    }

private:
    [[nodiscard]] Name convert(tables::NameId id);

    const tables::Names* names_ = nullptr;
    std::uint32_t generation_ = 0;
    std::vector<Name> known_;
    std::vector<std::unique_ptr<char16_t[]>> blocks_;
    std::size_t blockUsed_ = 0;
    std::size_t blockSize_ = 0;
};

// The position of the running parse; knows none once that is over, however long a handler keeps it.
class SaxLocator final : public ISAXLocator {
public:
    explicit SaxLocator(const reader::Locator& source) noexcept : source_(&source) {}
    void detach() noexcept { source_ = nullptr; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++count_; }
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE getColumnNumber(int* column) override;
    HRESULT STDMETHODCALLTYPE getLineNumber(int* line) override;

private:
    ~SaxLocator() = default;
    std::uint32_t count_ = 1;
    const reader::Locator* source_;
};

// The namespaces that prefixed attributes are in, each converted once.
class Utf16Uris final {
public:
    // Empty: in none. Lives as long as the event.
    [[nodiscard]] std::u16string_view of(const reader::Namespaces& names, tables::NameId attribute);

private:
    struct Uri {
        std::uint64_t binding = 0;  // its serial number
        std::u16string units;
    };
    std::vector<std::unique_ptr<Uri>> known_;  // by binding; what was handed out stays where it is
};

// The attributes of the element being delivered, without namespace declarations. Its life is that of the
// parse; counting does nothing.
class SaxAttributes final : public ISAXAttributes {
public:
    // Lent for the event. `scratch` has room for all values.
    void set(std::span<const reader::IdAttribute> attributes, const reader::Namespaces& names,
             Utf16Names& units, Utf16Scratch& scratch);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE getLength(int* count) override;
    HRESULT STDMETHODCALLTYPE getLocalName(int index, const OLECHAR** name, int* length) override;
    HRESULT STDMETHODCALLTYPE getName(int index, const OLECHAR** uri, int* uriLength,
                                      const OLECHAR** localName, int* localNameLength,
                                      const OLECHAR** qualifiedName, int* qualifiedNameLength) override;
    HRESULT STDMETHODCALLTYPE getValue(int index, const OLECHAR** value, int* length) override;

private:
    // 32 bytes, so that counting them takes no division. A start tag's values fit into an int.
    struct Shown {
        Utf16Names::Name units;
        const char16_t* value;
        std::uint32_t valueLength;
        tables::NameId name;
    };
    [[nodiscard]] const Shown* at(int index) const noexcept;
    std::vector<Shown> shown_;
    const reader::Namespaces* names_ = nullptr;
    Utf16Uris uris_;
};

// Runs a call of a handler. `inHandler` is true meanwhile, and stays true when the handler throws. A failing
// status is thrown as HandlerStatus.
template <typename Handler, typename Call>
void callHandler(Handler* handler, bool& inHandler, Call&& call) {
    if (handler == nullptr) return;
    inHandler = true;
    const HRESULT status = call(*handler);
    inHandler = false;
    if (FAILED(status)) throw HandlerStatus{status};
}

// Whom the events go to; they may be changed between events, null included.
struct Handlers {
    com::Ref<ISAXContentHandler> content;
    com::Ref<ISAXLexicalHandler> lexical;
};

// The sink that calls the handlers; see callHandler.
class SaxEvents final : public reader::EventSink {
public:
    SaxEvents(const Handlers& handlers, bool& inHandler) noexcept
        : handlers_(handlers), inHandler_(inHandler) {}
    ~SaxEvents() override;
    SaxEvents(const SaxEvents&) = delete;
    SaxEvents& operator=(const SaxEvents&) = delete;

    void startDocument(const reader::Locator& locator) override;
    void endDocument() override;
    void startElement(std::string_view name, std::span<const reader::Attribute> attributes) override;
    void startElement(const reader::StartTag& tag) { startElement(tag.id, tag.name, tag.attributes); }
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    void startCData() override;
    void endCData() override;
    void comment(std::string_view text) override;
    void processingInstruction(std::string_view target, std::string_view data) override;

private:
    struct Uri {
        std::uint64_t binding = 0;  // its serial number
        std::u16string units;
    };
    template <typename Call>
    void notify(Call&& call);
    void startElement(tables::NameId id, std::string_view name,
                      std::span<const reader::IdAttribute> attributes);
    [[nodiscard]] std::u16string_view uriOfElement();

    const Handlers& handlers_;
    bool& inHandler_;
    com::Ref<SaxLocator> locator_;
    const reader::Namespaces* names_ = nullptr;
    SaxAttributes attributes_;
    Utf16Scratch scratch_;
    Utf16Names units_;
    std::vector<Uri> uris_;  // by binding
    std::u16string rareUri_;
};

}  // namespace engine::sax
