// Loading and looking at a document.
#include "host/text.h"
#include "steps.h"

namespace demo {

namespace {

constexpr int kLevels = 3;
constexpr int kChildren = 3;

// No deeper than kLevels, so recursion is bounded.
void outlineElement(IKelDOMXmlElement& element, int level) {
    const std::string indent(static_cast<std::size_t>(2 * level), ' ');
    say(indent + describe(element));
    const Children child(element.getChildren());
    int shown = 0;
    for (; level + 1 < kLevels && shown < kChildren && !child->isEnd(); child->next(), ++shown)
        outlineElement(*Element(child->getElement(false)), level + 1);
    int rest = 0;
    for (; !child->isEnd(); child->next()) ++rest;
    if (rest > 0) say(indent + "  (" + std::to_string(rest) + (shown > 0 ? " more)" : " child elements)"));
}

}  // namespace

bool load(IKelDOMXmlV2& parser, const std::filesystem::path& file) {
    const StopWatch watch;
    if (!parser.loadFromFile(kelhost::fromUtf8(kelhost::utf8Of(file)))) {
        say(describeError(parser));
        return false;
    }
    const std::string time = watch.elapsed();
    std::error_code unknown;
    const auto size = std::filesystem::file_size(file, unknown);
    say(kelhost::utf8Of(file) + ": " + kilobytes(unknown ? 0 : static_cast<double>(size)) + " in " + time);
    return true;
}

void outline(IKelDOMXmlV2& parser) {
    outlineElement(*Element(parser.getRootElement()), 0);
}

}  // namespace demo
