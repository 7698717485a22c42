#include <stdexcept>

#include "bench/ours.h"
#include "bench/streams.h"
#include "framework/object/iptr.h"
#include "msxml_parser/msxml_parser.h"

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
    OurStreams() : parser_(sax().getParser()) {}

    [[nodiscard]] std::string_view name() const override { return "ours"; }

    // A malformed document is no failure here; the counts tell, when they are compared.
    [[nodiscard]] EventCounts parse(const std::string& path) const override {
        Counter counter;
        parser_->pushHandler(&counter);
        const bool opened = parser_->parseFile(toKelString(path));
        parser_->popHandler();
        if (!opened) throw std::runtime_error(parser_->getError()->getMessage().narrow());
        return counter.counts;
    }

private:
    IPtr<IKelSAXXmlV2> parser_;  // one for all files, as its declaration recommends
};

}  // namespace

const StreamLibrary& ourStreams() {
    static const OurStreams library;
    return library;
}

}  // namespace bench
