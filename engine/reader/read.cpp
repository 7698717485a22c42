#include "engine/reader/detail/declaration.h"
#include "engine/reader/detail/libxml2parser.h"
#include "engine/reader/detail/parse.h"

namespace engine::reader {

ParseError detail::parseWithLibxml2(Context& context, const ReadOptions& options, EventSink& sink,
                                    std::uint64_t offset) {
    Libxml2Parser parser(context, options, sink, offset);
    return parser.run() ? ParseError{} : context.source().describe(parser.fault());
}

ParseError detail::parseAllWithLibxml2(Context& context, const ReadOptions& options, EventSink& sink) {
    sink.startDocument(context);
    const Declaration declaration = readDeclaration(context.source());
    if (declaration.fault) return context.source().describe(declaration.fault);
    context.isStandalone = declaration.isStandalone;
    return parseWithLibxml2(context, options, sink, declaration.length);
}

ParseError read(const Input& input, const ReadOptions& options, EventSink& sink) {
    detail::TextSource source(input, options, detail::TextSource::Extent::Window);
    if (const detail::Fault fault = source.open()) return source.describe(fault);
    return detail::parse(source, options, sink);
}

}  // namespace engine::reader
