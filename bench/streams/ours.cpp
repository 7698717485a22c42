#include <stdexcept>

#include "bench/ours.h"
#include "bench/streams.h"

namespace bench {
namespace {

class Counter final : public IKelSAXXmlHandler {
public:
    void startElement(const KelString&, int, const KelSAXXmlAttributes& attributes) override {
        ++counts.elements;
        counts.attributes += attributes.size();
    }
    void characters(const KelString& text) override { counts.characters += text.length(); }
    void endElement(const KelString&) override {}

    EventCounts counts;
};

class OurStreams final : public StreamLibrary {
public:
    [[nodiscard]] std::string_view name() const override { return "ours"; }

    // A malformed document is no failure here; the counts show it when they are compared.
    [[nodiscard]] EventCounts parse(const std::string& path) const override {
        // One for all files, as its declaration recommends.
        thread_local const IPtr<IKelSAXXmlV2> parser = newSaxParser();
        Counter counter;
        parser->pushHandler(&counter);
        const bool opened = parser->parseFile(toKelString(path));
        parser->popHandler();
        if (!opened) throw std::runtime_error(parser->getError()->getMessage().narrow());
        return counter.counts;
    }
};

}  // namespace

const StreamLibrary& ourStreams() {
    static const OurStreams library;
    return library;
}

}  // namespace bench
