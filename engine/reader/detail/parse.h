// The choice of the parser: a DOCTYPE makes it. Without one, our own reads the document and is the only judge
// of it; from a DOCTYPE on, libxml2 does.
#pragma once

#include "engine/reader/detail/context.h"
#include "engine/reader/detail/directparser.h"
#include "engine/reader/reader.h"

namespace engine::reader::detail {

// Goes on after what has been read and delivered so far.
[[nodiscard]] ParseError parseWithLibxml2(Context& context, const ReadOptions& options, EventSink& sink,
                                          std::uint64_t offset);
// All of the document, for tests.
[[nodiscard]] ParseError parseAllWithLibxml2(Context& context, const ReadOptions& options, EventSink& sink);

// As `read`, from a source that has been opened without a fault.
template <typename Sink>
[[nodiscard]] ParseError parse(TextSource& source, const ReadOptions& options, Sink& sink) {
    Context context(source, sink.names());
    if (options.parser == ReadOptions::Parser::Libxml2) return parseAllWithLibxml2(context, options, sink);
    std::uint64_t offset = 0;
    {
        DirectParser<Sink> parser(context, options, sink);
        const DirectParserBase::Outcome outcome = parser.run();
        if (outcome == DirectParserBase::Outcome::Done) return {};
        if (outcome == DirectParserBase::Outcome::Rejected) return parser.error();
        offset = parser.offset();
    }
    return parseWithLibxml2(context, options, sink, offset);
}

}  // namespace engine::reader::detail
