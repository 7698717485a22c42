// The same document as a stream of events, which needs no memory for the document.
#include <algorithm>
#include <map>
#include <vector>

#include "host/text.h"
#include "msxml_parser/ikelsaxxml.h"
#include "steps.h"

namespace demo {

namespace {

constexpr int kEventsShown = 6;
constexpr std::size_t kNamesShown = 3;

class Counter final : public IKelSAXXmlHandler {
public:
    void startElement(const KelString& name, int depth, const KelSAXXmlAttributes& attributes) override {
        ++names_[name];
        deepest = std::max(deepest, depth + 1);
        show("start " + kelhost::toUtf8(name) + ", level " + std::to_string(depth) + ", " +
             std::to_string(attributes.size()) + " attributes");
    }
    void characters(const KelString& text) override {
        if (shortened(text).empty()) return;
        ++texts;
        show("text  " + shortened(text));
    }
    void endElement(const KelString& name) override { show("end   " + kelhost::toUtf8(name)); }

    // "element 12033, attribute 958, ..."
    [[nodiscard]] std::string mostFrequent() const {
        std::vector<std::pair<int, std::string>> counts;
        for (const auto& [name, count] : names_) counts.emplace_back(count, kelhost::toUtf8(name));
        std::ranges::sort(counts, std::ranges::greater());
        std::string list;
        for (std::size_t i = 0; i < std::min(counts.size(), kNamesShown); ++i)
            list += (i == 0 ? "" : ", ") + counts[i].second + ' ' + std::to_string(counts[i].first);
        return list;
    }

    int deepest = 0;
    int texts = 0;
    int events = 0;

private:
    void show(const std::string& event) {
        if (++events <= kEventsShown) say(event);
        if (events == kEventsShown + 1) say("...");
    }

    std::map<KelString, int> names_;
};

}  // namespace

bool stream(const Stage& stage, const std::filesystem::path& file) {
    const auto parser = stage.component.create<IKelSAXXmlV2>("MSSAXXml");
    Counter counter;
    parser->pushHandler(&counter);
    const StopWatch watch;
    if (!parser->parseFile(kelhost::fromUtf8(kelhost::utf8Of(file)))) {
        say("error " + std::to_string(parser->getError()->getCode()) + ": " +
            kelhost::toUtf8(parser->getError()->getMessage()));
        return false;
    }
    say(std::to_string(counter.events) + " events in " + watch.elapsed() + ", " +
        std::to_string(counter.deepest) + " levels; most frequent: " + counter.mostFrequent());
    return true;
}

}  // namespace demo
