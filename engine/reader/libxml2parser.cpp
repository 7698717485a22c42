// libxml2 is fed from the TextSource piece by piece, as its pull interface asks. Its callbacks, which are C
// functions, each end in a member function of the parser. What libxml2 does not limit is counted there, too.
#include "engine/reader/detail/libxml2parser.h"

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "engine/libstate/libstate.h"
#include "engine/libstate/xmlchars.h"
#include "engine/text/chars.h"

namespace engine::reader::detail {

using libstate::view;

namespace {

// Text without events (white space outside the root, a huge tag) is kept for its position up to here.
constexpr std::uint64_t kLongestLookBack = std::uint64_t{16} << 20;
constexpr std::string_view kPreamble = "<?xml version=\"1.0\"?>";
constexpr std::string_view kStandalonePreamble = "<?xml version=\"1.0\" standalone=\"yes\"?>";

std::string tooManyAttributes() {
    return worded("In a document with a DOCTYPE, an element must not have more than %1 attributes.",
                  std::to_string(TagWidth::kMax));
}

}  // namespace

// Each callback ends in a member function. An exception must not cross libxml2's frames: it is kept, the
// parser is stopped, and `run` lets it go on.
struct Libxml2Parser::Callbacks {
    template <typename Body>
    static void guarded(void* user, Body&& body) noexcept {
        auto& self = *static_cast<Libxml2Parser*>(user);
        if (self.isStopped_) return;  // an entity's text is being finished behind our back
        try {
            body(self);
        } catch (...) {
            self.thrown_ = std::current_exception();
            self.stop();
        }
    }

    static int read(void* user, char* to, int length) noexcept {
        int given = 0;
        auto& self = *static_cast<Libxml2Parser*>(user);
        self.isReading_ = true;
        guarded(user, [&](Libxml2Parser&) { given = self.feed(to, length); });
        self.isReading_ = false;
        return given;  // 0, the end, when stopped
    }
    static void startDocument(void* user) noexcept {
        guarded(user, [](Libxml2Parser& self) {
            xmlSAX2StartDocument(self.context_.get());  // makes the document that holds the entities
        });
    }
    static void endDocument(void*) noexcept {}  // comes after errors too
    static void startElement(void* user, const xmlChar* name, const xmlChar** attributes) noexcept {
        guarded(user, [&](Libxml2Parser& self) { self.startElement(name, attributes); });
    }
    static void endElement(void* user, const xmlChar* name) noexcept {
        guarded(user, [&](Libxml2Parser& self) { self.endElement(name); });
    }
    static void characters(void* user, const xmlChar* text, int length) noexcept {
        guarded(user, [&](Libxml2Parser& self) { self.characters(text, length); });
    }
    static void cData(void* user, const xmlChar* text, int length) noexcept {
        guarded(user, [&](Libxml2Parser& self) {
            self.cData({reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)});
        });
    }
    static void comment(void* user, const xmlChar* text) noexcept {
        guarded(user, [&](Libxml2Parser& self) { self.comment(view(text)); });
    }
    static void instruction(void* user, const xmlChar* target, const xmlChar* data) noexcept {
        guarded(user, [&](Libxml2Parser& self) { self.instruction(view(target), view(data)); });
    }
    static void internalSubset(void* user, const xmlChar* name, const xmlChar* publicId,
                               const xmlChar* systemId) noexcept {
        guarded(user, [&](Libxml2Parser& self) {
            self.startDoctype();
            if (!self.isStopped_) xmlSAX2InternalSubset(self.context_.get(), name, publicId, systemId);
        });
    }
    static void entityDecl(void* user, const xmlChar* name, int type, const xmlChar* publicId,
                           const xmlChar* systemId, xmlChar* content) noexcept {
        guarded(user,
                [&](Libxml2Parser& self) { self.declareEntity(name, type, publicId, systemId, content); });
    }
    static void unparsedEntityDecl(void* user, const xmlChar* name, const xmlChar* publicId,
                                   const xmlChar* systemId, const xmlChar* notation) noexcept {
        guarded(user, [&](Libxml2Parser& self) {
            self.rejectColon(view(name), worded("The name '%1' of this entity must not contain a colon."));
            xmlSAX2UnparsedEntityDecl(self.context_.get(), name, publicId, systemId, notation);
            self.eventEnds();
        });
    }
    static void notationDecl(void* user, const xmlChar* name, const xmlChar* publicId,
                             const xmlChar* systemId) noexcept {
        guarded(user, [&](Libxml2Parser& self) {
            self.declareNotation(view(name), publicId != nullptr || systemId != nullptr);
        });
    }
    static void attributeDecl(void* user, const xmlChar* element, const xmlChar* name, int type, int,
                              const xmlChar* defaultValue, xmlEnumeration* values) noexcept {
        xmlFreeEnumeration(values);  // ours to free
        guarded(user, [&](Libxml2Parser& self) { self.declareAttribute(element, name, type, defaultValue); });
    }
    static xmlEntity* getEntity(void* user, const xmlChar* name) noexcept {
        xmlEntity* found = nullptr;
        guarded(user, [&](Libxml2Parser& self) { found = self.generalEntity(name); });
        return found;
    }
    static xmlEntity* getParameterEntity(void* user, const xmlChar* name) noexcept {
        xmlEntity* found = nullptr;
        guarded(user, [&](Libxml2Parser& self) { found = self.parameterEntity(name); });
        return found;
    }
    static xmlParserInput* resolveEntity(void*, const xmlChar*, const xmlChar*) noexcept { return nullptr; }
    static void failed(void* user, xmlError* error) noexcept {
        guarded(user, [&](Libxml2Parser& self) { self.failed(*error); });
    }
};

void Libxml2Parser::FreeContext::operator()(xmlParserCtxt* context) const noexcept {
    xmlFreeDoc(context->myDoc);
    context->myDoc = nullptr;
    xmlFreeParserCtxt(context);
}

Libxml2Parser::Libxml2Parser(Context& context, const ReadOptions& options, EventSink& sink,
                             std::uint64_t offset)
    : shared_(context),
      source_(context.source()),
      options_(options),
      sink_(sink),
      preamble_(context.isStandalone ? kStandalonePreamble : kPreamble),
      feedOffset_(offset),
      documentStart_(offset),
      farthest_(offset),
      lastEventEnd_(offset),
      sizes_([this](std::string_view name) {
          const std::string terminated(name);
          const xmlEntity* entity =
              xmlGetDocEntity(context_->myDoc, reinterpret_cast<const xmlChar*>(terminated.c_str()));
          const bool hasText = entity != nullptr && entity->etype != XML_INTERNAL_PREDEFINED_ENTITY;
          return hasText ? view(entity->content) : std::string_view();
      }) {}

void Libxml2Parser::createContext() {
    xmlSAXHandler sax{};
    sax.initialized = 1;  // the first kind of callbacks
    sax.startDocument = Callbacks::startDocument;
    sax.endDocument = Callbacks::endDocument;
    sax.startElement = Callbacks::startElement;
    sax.endElement = Callbacks::endElement;
    sax.characters = sax.ignorableWhitespace = Callbacks::characters;
    sax.cdataBlock = Callbacks::cData;
    sax.comment = Callbacks::comment;
    sax.processingInstruction = Callbacks::instruction;
    sax.internalSubset = Callbacks::internalSubset;
    sax.entityDecl = Callbacks::entityDecl;
    sax.unparsedEntityDecl = Callbacks::unparsedEntityDecl;
    sax.notationDecl = Callbacks::notationDecl;
    sax.attributeDecl = Callbacks::attributeDecl;
    sax.getEntity = Callbacks::getEntity;
    sax.getParameterEntity = Callbacks::getParameterEntity;
    sax.resolveEntity = Callbacks::resolveEntity;
    context_.reset(xmlCreateIOParserCtxt(&sax, this, Callbacks::read, nullptr, this, XML_CHAR_ENCODING_UTF8));
    if (context_ == nullptr) throw std::bad_alloc();
    // HUGE: the limits are ours. Entities expand, the network is closed, a declared encoding does not count.
    xmlCtxtUseOptions(context_.get(),
                      XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_IGNORE_ENC);
}

bool Libxml2Parser::run() {
    {
        const libstate::LastError theirs;
        // The contexts have no handler of their own for this kind of callbacks, and those that libxml2 makes
        // for entities would not inherit a second kind's.
        const libstate::ErrorHandler ours({Callbacks::failed, this});
        applicationHandler_ = ours.previous();
        createContext();
        (void)xmlParseDocument(context_.get());
    }
    return conclude();
}

bool Libxml2Parser::conclude() {
    if (thrown_) std::rethrow_exception(thrown_);
    if (!fault_ && context_->wellFormed == 0) {
        if (context_->lastError.code == XML_ERR_NO_MEMORY || context_->lastError.code == XML_ERR_OK)
            throw std::bad_alloc();
        describe(context_->lastError);
    }
    if (!fault_) fault_ = source_.fault();  // after the root element
    if (fault_) return false;
    shared_.event = source_.offsetOf(source_.end());
    sink_.endDocument();
    return true;
}

int Libxml2Parser::feed(char* to, int length) {
    // Here, for names come from tags, instructions and declarations alike.
    if (xmlDictSize(context_->dict) > kMaxNames) {
        reject(ErrorCode::TooManyNames, lastEventEnd_,
               worded("A document with a DOCTYPE must not have more than %1 different names.",
                      std::to_string(kMaxNames)));
        return 0;
    }
    int given = 0;
    while (given != length) {
        std::string_view from = preamble_;
        if (from.empty()) {
            if (feedOffset_ == source_.offsetOf(source_.end())) {
                const std::uint64_t at = here();
                if (!source_.fill(at - lastEventEnd_ < kLongestLookBack ? lastEventEnd_ : at)) break;
            }
            const char* next = source_.at(feedOffset_);
            from = {next, static_cast<std::size_t>(source_.end() - next)};
        }
        const std::size_t now = std::min(from.size(), static_cast<std::size_t>(length - given));
        std::memcpy(to + given, from.data(), now);
        if (!width_.add(from.substr(0, now))) {
            reject(ErrorCode::TooManyAttributes, lastEventEnd_, tooManyAttributes());
            return 0;
        }
        given += static_cast<int>(now);
        if (preamble_.empty()) {
            feedOffset_ += now;
        } else {
            preamble_.remove_prefix(now);
        }
    }
    return given;
}

// The sink may use libxml2 itself: it meets the thread as the application has set it up.
template <typename Event>
void Libxml2Parser::callSink(Event&& event) {
    const libstate::ErrorHandler theirs(applicationHandler_);
    event();
}

void Libxml2Parser::stop() {
    isStopped_ = true;
    (void)here();
    if (!isReading_) xmlStopParser(context_.get());
}

void Libxml2Parser::reject(ErrorCode code, std::uint64_t offset, std::string reason) {
    fault_ = {code, offset, std::move(reason)};
    stop();
}

std::uint64_t Libxml2Parser::here() const {
    if (context_ == nullptr || context_->inputNr == 0) return farthest_;
    const xmlParserInput& input = *context_->inputTab[0];
    const std::size_t preamble = shared_.isStandalone ? kStandalonePreamble.size() : kPreamble.size();
    const std::uint64_t consumed = input.consumed + static_cast<std::uint64_t>(input.cur - input.base);
    if (consumed > preamble) farthest_ = std::max(farthest_, documentStart_ + consumed - preamble);
    return farthest_;
}

void Libxml2Parser::locate(std::uint64_t offset) {
    shared_.event = source_.holds(offset) ? offset : here();
}

std::string_view Libxml2Parser::sinceLastEvent() const {
    const std::uint64_t from =
        source_.holds(lastEventEnd_) ? lastEventEnd_ : source_.offsetOf(source_.begin());
    const std::uint64_t to = std::min(here(), source_.offsetOf(source_.end()));
    return from >= to ? std::string_view()
                      : std::string_view(source_.at(from), static_cast<std::size_t>(to - from));
}

std::uint64_t Libxml2Parser::lastInText(char mark) const {
    const std::string_view text = sinceLastEvent();
    const std::size_t at = text.rfind(mark);
    if (at != std::string_view::npos) return source_.offsetOf(text.data() + at);
    return source_.holds(lastEventEnd_) ? lastEventEnd_ : here();
}

void Libxml2Parser::locateFirst(std::string_view mark) {
    const std::string_view text = sinceLastEvent();
    const std::size_t at = text.find(mark);
    locate(at == std::string_view::npos ? lastEventEnd_ : source_.offsetOf(text.data() + at));
}

void Libxml2Parser::eventEnds() {
    lastEventEnd_ = here();
}

void Libxml2Parser::startElement(const xmlChar* name, const xmlChar** attributes) {
    // libxml2 reports a tag that the text's end cuts short, and notices afterwards.
    if (here() == source_.offsetOf(source_.end())) return;
    locateLast('<');
    const std::string_view written = view(name);
    attributes_.clear();
    for (; attributes != nullptr && attributes[0] != nullptr; attributes += 2) {
        attributes_.push_back({view(attributes[0]), view(attributes[1])});
    }
    if (!isAffordable(attributeDeclarations_.costOf(written, attributes_),
                      worded("The defaults of its attributes are not added")))
        return;
    attributeDeclarations_.apply(written, attributes_);
    if (opens_.size() >= options_.depthLimit) {
        reject(ErrorCode::TooDeep, shared_.event,
               worded("Elements are nested more than %1 deep.", std::to_string(options_.depthLimit)));
        return;
    }
    Names& names = shared_.names();
    const NameId id = names.intern(written);
    std::uint8_t flags = 0;
    idAttributes_.clear();
    for (const Attribute& attribute : attributes_) {
        idAttributes_.push_back({names.intern(attribute.name), attribute.value});
        flags |= names.flags(idAttributes_.back().name);
    }
    Namespaces& namespaces = shared_.resolved();
    if (!namespaces.enter(id, idAttributes_, flags)) {
        return reject(namespaces.error().code, shared_.event, std::move(namespaces.error().reason));
    }
    opens_.push_back({id, namespaces.declared()});
    callSink([&] { sink_.startElement(written, attributes_); });
    // libxml2 stands before the '>'. Of an empty tag, the end event still has to find the '<'.
    const std::uint64_t at = here();
    if (source_.holds(at) && *source_.at(at) == '>') lastEventEnd_ = at + 1;
}

void Libxml2Parser::endElement(const xmlChar* name) {
    if (opens_.empty()) return;
    locateLast('<');
    const Open open = opens_.back();
    opens_.pop_back();
    shared_.resolved().beginLeave(open.name, open.declared);
    callSink([&] { sink_.endElement(view(name)); });
    shared_.resolved().leave(open.declared);
    eventEnds();
}

void Libxml2Parser::characters(const xmlChar* text, int length) {
    locate(lastEventEnd_);
    deliverText({reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)});
    eventEnds();
}

void Libxml2Parser::deliverText(std::string_view text) {
    if (!text.empty() && !opens_.empty()) callSink([&] { sink_.characters(text); });
}

void Libxml2Parser::startDoctype() {
    locateFirst("<!DOCTYPE");
    doctypeStart_ = shared_.event;
    if (options_.dtd == ReadOptions::Dtd::Prohibit)
        reject(ErrorCode::DoctypeProhibited, shared_.event, kDoctypeProhibited);
    eventEnds();
}

void Libxml2Parser::cData(std::string_view text) {
    locateFirst("<![CDATA[");
    callSink([&] { sink_.startCData(); });
    const std::uint64_t textStart = shared_.event + 9;
    locate(textStart);
    deliverText(text);
    locate(textStart + text.size());
    callSink([&] { sink_.endCData(); });
    eventEnds();
}

void Libxml2Parser::comment(std::string_view text) {
    if (context_->inSubset == 0) {
        locateFirst("<!--");
        callSink([&] { sink_.comment(text); });
    }
    eventEnds();
}

// Those inside the DOCTYPE are part of the document; its comments are not.
void Libxml2Parser::instruction(std::string_view target, std::string_view data) {
    locateFirst("<?");
    if (target.find(':') != std::string_view::npos) {
        return reject(
            ErrorCode::BadQualifiedName, shared_.event,
            worded("The target '%1' of a processing instruction must not contain a colon.", shown(target)));
    }
    callSink([&] { sink_.processingInstruction(target, data); });
    eventEnds();
}

}  // namespace engine::reader::detail
