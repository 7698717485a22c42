// The parser of documents with a DOCTYPE: libxml2 behind the reader's events.
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

#include "engine/libstate/libstate.h"
#include "engine/reader/detail/context.h"
#include "engine/reader/detail/doctype.h"
#include "engine/reader/events.h"
#include "engine/reader/reader.h"
#include "engine/source/errors.h"
#include "engine/source/textsource.h"

namespace engine::reader::detail {

// libxml2's tables stop growing at some 10,000 lists: beyond these numbers each name would cost more than the
// one before.
inline constexpr std::size_t kMaxEntities = 50'000;
inline constexpr int kMaxNames = 200'000;

class Libxml2Parser final {
public:
    // Goes on with a document whose startDocument, and everything else before `offset`, has been delivered.
    Libxml2Parser(Context& context, const ReadOptions& options, EventSink& sink, std::uint64_t offset);

    // True: well formed, the document has been delivered. Everything that the sink throws comes out.
    [[nodiscard]] bool run();

    [[nodiscard]] const Fault& fault() const noexcept { return fault_; }

private:
    struct FreeContext {
        void operator()(xmlParserCtxt* context) const noexcept;
    };
    struct Callbacks;                                                   // libxml2's view of us
    using SystemIds = std::map<std::string, std::string, std::less<>>;  // by entity

    void createContext();
    [[nodiscard]] bool conclude();
    [[nodiscard]] int feed(char* to, int length);
    void stop();
    void reject(ErrorCode code, std::uint64_t offset, std::string reason);
    void failed(const xmlError& error);
    void describe(const xmlError& error);
    void describeInDoctype(const std::string& message);
    void describeUnexpected(const std::string& message);

    // Where libxml2 stands in the document itself, not in an entity.
    [[nodiscard]] std::uint64_t here() const;
    // The same, but the start of the reference whose entity is being expanded.
    [[nodiscard]] std::uint64_t offending() const;
    // Set the start of the event being delivered: the last, or the first, `mark` since the last event.
    void locate(std::uint64_t offset);
    void locateLast(char mark) { locate(lastInText(mark)); }
    [[nodiscard]] std::uint64_t lastInText(char mark) const;
    void locateFirst(std::string_view mark);
    [[nodiscard]] std::string_view sinceLastEvent() const;
    void eventEnds();

    template <typename Event>
    void callSink(Event&& event);
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
    void rejectColon(std::string_view name, const char* words);
    [[nodiscard]] xmlEntity* generalEntity(const xmlChar* name);
    [[nodiscard]] xmlEntity* parameterEntity(const xmlChar* name);
    [[nodiscard]] bool mayBeDeclaredOutside() const;
    [[nodiscard]] bool isRejectedAsExternal(const SystemIds& external, const xmlEntity* entity,
                                            std::string_view name);
    [[nodiscard]] bool isExpansionAllowed(std::string_view name);
    [[nodiscard]] bool isAffordable(std::uint64_t bytes, std::string_view rejection);

    struct Open {
        NameId name;
        std::uint32_t declared;  // namespaces
    };

    Context& shared_;
    TextSource& source_;
    const ReadOptions& options_;
    EventSink& sink_;

    std::unique_ptr<xmlParserCtxt, FreeContext> context_;
    libstate::ErrorHandler::Setting applicationHandler_;  // of this thread, before we set ours
    std::string_view preamble_;                           // fed before the document's own text
    std::uint64_t feedOffset_ = 0;                        // next byte of the document to be fed
    std::uint64_t documentStart_ = 0;                     // where this parser begins
    mutable std::uint64_t farthest_ = 0;                  // where libxml2 stood last
    std::uint64_t lastEventEnd_ = 0;
    std::uint64_t doctypeStart_ = kNoOffset;
    TagWidth width_;  // of what has been fed

    std::vector<Open> opens_;
    std::vector<Attribute> attributes_;
    std::vector<IdAttribute> idAttributes_;
    AttributeDeclarations attributeDeclarations_;
    EntitySizes sizes_;
    std::size_t entityCount_ = 0;
    SystemIds externalGeneral_;
    SystemIds externalParameter_;
    bool isSubsetIncomplete_ =
        false;  // what stands after an external parameter entity may be overridden by it
    std::uint64_t expandedBytes_ = 0;
    std::uint64_t lastReference_ = kNoOffset;  // the end of the last reference in the document itself
    std::uint64_t referenceStart_ = 0;

    bool isReading_ = false;  // libxml2 must not be stopped while it fills its buffer
    bool isStopped_ = false;
    bool isUriBad_ = false;  // an entity was declared with an address that libxml2 takes for none
    Fault fault_;
    std::exception_ptr thrown_;
};

}  // namespace engine::reader::detail
