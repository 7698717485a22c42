#include <algorithm>

#include "engine/reader/detail/direct_parser.h"
#include "engine/reader/detail/namespace_layer.h"
#include "engine/reader/reader.h"

namespace engine::reader {
namespace {

// The start of an unclosed element may have left the window long ago.
ParseError describe(detail::TextSource& source, detail::Fault fault) {
    if (fault.offset == detail::kNoOffset || source.holds(fault.offset)) return source.describe(fault);
    if (!source.isRewindable() || source.open()) {
        fault.offset = source.offsetOf(source.end());
        return source.describe(fault);
    }
    std::uint64_t end = 0;
    while (!source.holds(fault.offset) && source.fill(end)) end = source.offsetOf(source.end());
    fault.offset = std::min(fault.offset, source.offsetOf(source.end()));  // the file has changed
    return source.describe(fault);
}

}  // namespace

ParseError read(const Input& input, const ReadOptions& options, EventSink& sink) {
    detail::TextSource source(input, options);
    if (detail::Fault fault = source.open()) return source.describe(fault);
    detail::NamespaceLayer layer(sink);
    detail::DirectParser parser(source, options, layer);
    switch (parser.run()) {
        case detail::DirectParser::Outcome::Done:
            return {};
        case detail::DirectParser::Outcome::Refused:
            return describe(source, parser.fault());
        case detail::DirectParser::Outcome::Doctype:
            break;
    }
    return source.describe(
        {ErrorCode::DoctypeProhibited, detail::kNoOffset, "Documents with a DOCTYPE cannot be read yet."});
}

}  // namespace engine::reader
