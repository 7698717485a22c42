// Who reads a document: the fast parser where it can; libxml2 for a DOCTYPE and as the authority on what the
// fast parser refuses. It starts over then and keeps to itself what was delivered before. The words and
// places of well-formedness errors are the fast parser's: for a document that libxml2 alone has read, it is
// sent after the culprit.
#include <algorithm>
#include <functional>

#include "engine/reader/detail/direct_parser.h"
#include "engine/reader/detail/libxml2_parser.h"
#include "engine/reader/detail/namespace_layer.h"
#include "engine/reader/reader.h"

namespace engine::reader {
namespace {

using detail::DirectParser;
using detail::Fault;
using detail::Libxml2Parser;
using detail::NamespaceLayer;
using detail::TextSource;

class NullSink final : public EventSink {
public:
    void startDocument(const Locator&) override {}
    void endDocument() override {}
    void startElement(std::string_view, std::span<const Attribute>) override {}
    void endElement(std::string_view) override {}
    void characters(std::string_view) override {}
    void startCData() override {}
    void endCData() override {}
    void comment(std::string_view) override {}
    void processingInstruction(std::string_view, std::string_view) override {}
};

bool isNamespaceError(ErrorCode code) {
    return code >= ErrorCode::UndeclaredPrefix && code <= ErrorCode::DuplicateExpandedAttribute;
}

// Errors that are ours alone to find: libxml2 is not asked.
bool isFinal(ErrorCode code) {
    switch (code) {
        case ErrorCode::CannotRead:
        case ErrorCode::TooLong:
        case ErrorCode::BadByte:
        case ErrorCode::BadCharacter:
        case ErrorCode::BadDeclaration:
        case ErrorCode::DoctypeProhibited:
        case ErrorCode::TooDeep:
            return true;
        default:
            return isNamespaceError(code);
    }
}

// The start of an unclosed element may have left the window long ago.
ParseError describe(TextSource& source, Fault fault) {
    if (fault.offset == detail::kNoOffset || source.holds(fault.offset)) return source.describe(fault);
    if (source.open()) {
        fault.offset = source.offsetOf(source.end());
        return source.describe(fault);
    }
    std::uint64_t end = 0;
    while (!source.holds(fault.offset) && source.fill(end)) end = source.offsetOf(source.end());
    fault.offset = std::min(fault.offset, source.offsetOf(source.end()));  // the file has changed
    return source.describe(fault);
}

// Does libxml2 think so too? It works in silence: what it delivers behind a mistake is not for the sink.
bool isRefused(TextSource& source, const ReadOptions& options) {
    if (source.open()) return true;
    NullSink nothing;
    return !Libxml2Parser(source, options, nothing, {}).run();
}

// Where the fast parser sees the mistake in a document that libxml2 refuses. It looks neither into the
// DOCTYPE nor into entities, so what it finds counts only if it stands before libxml2's place.
Fault findCulprit(TextSource& source, const ReadOptions& options, const Libxml2Parser& refused) {
    if (source.open()) return refused.fault();
    NullSink nothing;
    NamespaceLayer layer(nothing);
    const bool isAboutNames = isNamespaceError(refused.fault().code);
    DirectParser parser(source, options, isAboutNames ? static_cast<EventSink&>(layer) : nothing);
    parser.passOverDoctype([&](std::string_view name) { return refused.isDeclared(name); });
    (void)parser.run();
    const Fault& found = parser.fault();
    const Fault& known = refused.fault();
    const bool isTheSame = isAboutNames ? found.code == known.code && found.reason == known.reason
                                        : found && (refused.isFaultInText() || found.offset <= known.offset);
    if (!isTheSame) return known;
    return found;
}

// The fast parser's verdict without anybody else's.
ParseError readDirectly(TextSource& source, const ReadOptions& options, EventSink& sink) {
    ReadOptions alone = options;
    alone.dtd = ReadOptions::Dtd::Prohibit;
    DirectParser parser(source, alone, sink);
    if (parser.run() == DirectParser::Outcome::Done) return {};
    return describe(source, parser.fault());
}

}  // namespace

ParseError read(const Input& input, const ReadOptions& options, EventSink& sink) {
    TextSource source(input, options);
    if (Fault fault = source.open()) return source.describe(fault);
    NamespaceLayer layer(sink);
    if (options.parser == ReadOptions::Parser::Direct) return readDirectly(source, options, layer);
    detail::Progress done;
    if (options.parser == ReadOptions::Parser::Automatic) {
        DirectParser parser(source, options, layer);
        const DirectParser::Outcome outcome = parser.run();
        if (outcome == DirectParser::Outcome::Done) return {};
        const bool isConfirmed =
            outcome == DirectParser::Outcome::Refused &&
            (isFinal(parser.fault().code) || parser.isTooWideForLibxml2() || isRefused(source, options));
        if (isConfirmed) return describe(source, parser.fault());
        done = parser.progress();
        if (Fault fault = source.open()) return source.describe(fault);
    }
    Libxml2Parser parser(source, options, layer, done);
    layer.follow(parser.locator());
    if (parser.run()) return {};
    return describe(source, parser.isFaultFinal() ? parser.fault() : findCulprit(source, options, parser));
}

}  // namespace engine::reader
