// The complete parser: libxml2 behind the reader's events. It reads DOCTYPEs, and has the last word on what
// is well formed.
//
// libxml2 gets the text of the TextSource as UTF-8 behind a declaration of ours, through its pull interface
// and its callbacks of the first kind (qualified names, all attributes, document order). Settings are those
// of the one parser context; nothing external is opened: external entities are declared as empty internal
// ones, external subsets left out.
#pragma once

#include <libxml/parser.h>

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/libstate/threadsettings.h"
#include "engine/reader/detail/direct_parser.h"
#include "engine/reader/detail/doctype.h"
#include "engine/reader/detail/fault.h"
#include "engine/reader/detail/text_source.h"
#include "engine/reader/events.h"
#include "engine/reader/reader.h"

namespace engine::reader::detail {

class Libxml2Parser final : private Locator {
public:
    // `done`: what another parser has delivered of this document already and this one keeps to itself.
    Libxml2Parser(TextSource& source, const ReadOptions& options, EventSink& sink, const Progress& done);

    // `source` has been opened and stands at its start. True: well formed, the document has been delivered.
    // Everything that the sink throws comes out, a NamespaceFault excepted, which becomes the fault.
    [[nodiscard]] bool run();

    [[nodiscard]] const Fault& fault() const noexcept { return fault_; }
    // The fault is ours, with its place and its words; else libxml2 found something and the culprit may be
    // sought.
    [[nodiscard]] bool isFaultFinal() const noexcept { return isFaultFinal_; }
    [[nodiscard]] const Locator& locator() const noexcept { return *this; }
    // libxml2 was neither in the DOCTYPE nor, as far as can be told, in an entity.
    [[nodiscard]] bool isFaultInText() const noexcept { return isFaultInText_; }
    // An entity of this name is declared, or may be in what is not read.
    [[nodiscard]] bool isDeclared(std::string_view entity) const;

private:
    struct FreeContext {
        void operator()(xmlParserCtxt* context) const noexcept;
    };
    struct Callbacks;                                                   // libxml2's view of us
    using SystemIds = std::map<std::string, std::string, std::less<>>;  // by entity

    [[nodiscard]] Position position() const override;

    void createContext();
    [[nodiscard]] bool conclude();
    [[nodiscard]] int feed(char* to, int length);
    [[nodiscard]] bool isTagTooWide() const;
    void stop();
    void refuse(ErrorCode code, std::uint64_t offset, std::string reason);
    void failed(const xmlError& error);
    void describe(const xmlError& error);

    // Where libxml2 stands in the document itself, not in an entity.
    [[nodiscard]] std::uint64_t here() const;
    // The same, but the start of the reference whose entity is being expanded.
    [[nodiscard]] std::uint64_t culprit() const;
    // Sets the start of the event being delivered: the last, or the first, `mark` since the last event.
    void locateLast(char mark);
    void locateFirst(std::string_view mark);
    [[nodiscard]] std::string_view sinceLastEvent() const;
    [[nodiscard]] bool isEventNew();
    void eventEnds();

    template <typename Event>
    void tell(Event&& event);
    void startDocument();
    void startElement(const xmlChar* name, const xmlChar** attributes);
    void endElement(const xmlChar* name);
    void characters(const xmlChar* text, int length);
    void deliverText(std::string_view text);
    void startDoctype();
    void cData(std::string_view text);
    void comment(std::string_view text);
    void instruction(std::string_view target, std::string_view data);

    void declareEntity(const xmlChar* name, int type, const xmlChar* publicId, const xmlChar* systemId,
                       xmlChar* content);
    void declareAttribute(const xmlChar* element, const xmlChar* name, int type, const xmlChar* defaultValue);
    void declareNotation(std::string_view name, bool hasIdentifier);
    void refuseColon(std::string_view name, std::string_view what);
    [[nodiscard]] xmlEntity* generalEntity(const xmlChar* name);
    [[nodiscard]] xmlEntity* parameterEntity(const xmlChar* name);
    [[nodiscard]] bool mayBeDeclaredOutside() const;
    [[nodiscard]] bool isRefusedAsExternal(const SystemIds& external, const xmlEntity* entity,
                                           std::string_view name);
    [[nodiscard]] bool isExpansionAllowed(std::string_view name);
    [[nodiscard]] bool isAffordable(std::string_view name, std::uint64_t bytes);

    TextSource& source_;
    const ReadOptions& options_;
    EventSink& sink_;
    Progress done_;
    Progress seen_;

    std::unique_ptr<xmlParserCtxt, FreeContext> context_;
    libstate::ErrorHandler::Setting applicationHandler_;  // of this thread, before we set ours
    std::string_view preamble_;                           // fed before the document's own text
    std::uint64_t feedOffset_ = 0;                        // next byte of the document to be fed
    std::uint64_t documentStart_ = 0;                     // behind the document's own XML declaration
    mutable std::uint64_t farthest_ = 0;                  // where libxml2 stood last
    std::uint64_t event_ = 0;                             // start of the event being delivered
    std::uint64_t lastEventEnd_ = 0;

    std::size_t valuesSinceEvent_ = 0;  // "=" and a quote, in what has been fed since the last event
    std::uint32_t depth_ = 0;
    std::vector<Attribute> attributes_;
    AttributeDeclarations attributeDeclarations_;
    EntitySizes sizes_;
    SystemIds externalGeneral_;
    SystemIds externalParameter_;
    bool isStandalone_ = false;
    bool isSubsetIncomplete_ =
        false;  // what stands behind an external parameter entity may be overridden by it
    std::uint64_t expandedBytes_ = 0;
    std::uint64_t lastReference_ = kNoOffset;  // the end of the last reference in the document itself
    std::uint64_t referenceStart_ = 0;

    bool isReading_ = false;  // libxml2 must not be stopped while it fills its buffer
    bool isStopped_ = false;
    bool isFaultFinal_ = false;
    bool isFaultInText_ = false;
    Fault fault_;
    std::exception_ptr thrown_;
};

}  // namespace engine::reader::detail
