#include <expat.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <type_traits>

#include "bench/streams.h"

namespace bench {
namespace {

constexpr int kPieceInBytes = 64 << 10;

void XMLCALL startElement(void* counts, const XML_Char*, const XML_Char** attributes) {
    auto& found = *static_cast<EventCounts*>(counts);
    ++found.elements;
    for (; *attributes != nullptr; attributes += 2) ++found.attributes;
}

void XMLCALL endElement(void*, const XML_Char*) {}

void XMLCALL characters(void* counts, const XML_Char* text, int length) {
    static_cast<EventCounts*>(counts)->characters += utf16Length({text, static_cast<std::size_t>(length)});
}

std::string_view localName(const XML_Char* name) {
    const std::string_view whole(name);
    const std::size_t bar = whole.rfind('|');
    return bar == std::string_view::npos ? whole : whole.substr(bar + 1);
}

void XMLCALL countRepeated(void* counts, const XML_Char*, const XML_Char** attributes) {
    for (const XML_Char** a = attributes; *a != nullptr; a += 2) {
        for (const XML_Char** earlier = attributes; earlier != a; earlier += 2) {
            if (localName(*earlier) != localName(*a)) continue;
            ++static_cast<EventCounts*>(counts)->attributes;
            break;
        }
    }
}

void feed(XML_Parser parser, std::FILE* file, const std::string& path) {
    for (bool last = false; !last;) {
        void* const buffer = XML_GetBuffer(parser, kPieceInBytes);
        if (buffer == nullptr) throw std::bad_alloc();
        const std::size_t count = std::fread(buffer, 1, kPieceInBytes, file);
        last = count < static_cast<std::size_t>(kPieceInBytes);
        if (XML_ParseBuffer(parser, static_cast<int>(count), last) != XML_STATUS_OK)
            throw std::runtime_error("expat rejects " + path);
    }
}

using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)>;

Parser newParser(XML_StartElementHandler start, EventCounts& counts) {
    Parser parser(XML_ParserCreateNS(nullptr, '|'), XML_ParserFree);
    XML_SetUserData(parser.get(), &counts);
    XML_SetElementHandler(parser.get(), start, endElement);
    XML_SetCharacterDataHandler(parser.get(), characters);
    return parser;
}

EventCounts parseWith(XML_StartElementHandler start, const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) throw std::runtime_error("cannot open " + path);
    EventCounts counts;
    const Parser parser = newParser(start, counts);
    feed(parser.get(), file.get(), path);
    return counts;
}

class ExpatStreams final : public StreamLibrary {
public:
    [[nodiscard]] std::string_view name() const override { return "expat"; }
    [[nodiscard]] EventCounts parse(const std::string& path) const override {
        return parseWith(startElement, path);
    }
};

}  // namespace

const StreamLibrary& expatStreams() {
    static const ExpatStreams library;
    return library;
}

EventCounts parseTextWithExpat(std::string_view text) {
    EventCounts counts;
    const Parser parser = newParser(startElement, counts);
    if (XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), XML_TRUE) != XML_STATUS_OK)
        throw std::runtime_error("expat rejects the document");
    return counts;
}

std::uint64_t countRepeatedLocalNames(const std::string& path) {
    return parseWith(countRepeated, path).attributes;
}

}  // namespace bench
