#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <memory>
#include <stdexcept>

#include "bench/streams.h"

namespace bench {
namespace {

void startElement(void* counts, const xmlChar*, const xmlChar*, const xmlChar*, int, const xmlChar**,
                  int attributes, int, const xmlChar**) {
    auto& found = *static_cast<EventCounts*>(counts);
    ++found.elements;
    found.attributes += static_cast<std::uint64_t>(attributes);
}

void endElement(void*, const xmlChar*, const xmlChar*, const xmlChar*) {}

void characters(void* counts, const xmlChar* text, int length) {
    static_cast<EventCounts*>(counts)->characters +=
        utf16Length({reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)});
}

class Libxml2Streams final : public StreamLibrary {
public:
    [[nodiscard]] std::string_view name() const override { return "libxml2"; }

    [[nodiscard]] EventCounts parse(const std::string& path) const override {
        const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxtPtr)> context(
            xmlCreateFileParserCtxt(path.c_str()), xmlFreeParserCtxt);
        if (!context) throw std::runtime_error("libxml2 cannot open " + path);
        EventCounts counts;
        xmlSAXHandler& sax = *context->sax;
        sax = xmlSAXHandler{};
        sax.initialized = XML_SAX2_MAGIC;
        sax.startElementNs = startElement;
        sax.endElementNs = endElement;
        sax.characters = characters;
        sax.ignorableWhitespace = characters;
        context->userData = &counts;
        xmlCtxtUseOptions(context.get(), XML_PARSE_NONET | XML_PARSE_HUGE);
        const int result = xmlParseDocument(context.get());
        if (result != 0 || context->wellFormed == 0) throw std::runtime_error("libxml2 rejects " + path);
        return counts;
    }
};

}  // namespace

const StreamLibrary& libxml2Streams() {
    static const Libxml2Streams library;
    return library;
}

}  // namespace bench
