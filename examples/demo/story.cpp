#include "story.h"

#include <cstdio>

#include "host/text.h"
#include "tools/kelxml/report/output.h"

namespace demo {

namespace {

constexpr int kAttributesShown = 3;

std::string fixed(double value, const char* unit) {
    char text[40];
    std::snprintf(text, sizeof text, "%.1f %s", value, unit);
    return text;
}

}  // namespace

void step(const char* title, const char* shows) {
    static int number = 0;
    kelxml::Output output;  // in colour on a terminal
    output.write('\n' + std::to_string(++number) + ". ");
    output.write(title, kelxml::Ink::Name);
    output.write(std::string("\n   ") + shows + "\n\n");
    output.finish();
}

void say(const std::string& line) {
    std::printf("      %s\n", line.c_str());
}

std::string shortened(const KelString& text, std::size_t limit) {
    return kelxml::oneLine(kelhost::toUtf8(text), limit);
}

std::string describe(IKelDOMXmlElement& element) {
    std::string line = '<' + shortened(element.getName());
    const int count = element.getAttributeCount();
    for (int i = 0; i < count && i < kAttributesShown; ++i) {
        line += ' ' + shortened(element.getAttributeName(i)) + "=\"" +
                shortened(element.getAttributeValue(i), 36) + '"';
    }
    if (count > kAttributesShown) line += " ...";
    line += '>';
    const std::string text = shortened(element.getText());
    return text.empty() ? line : line + ' ' + text;
}

std::u16string nameOf(IKelDOMXmlElement& element) {
    const KelString name = element.getName();
    return std::u16string(name.view());
}

std::u16string prefixOf(IKelDOMXmlElement& element) {
    const std::u16string name = nameOf(element);
    return name.substr(0, name.find(u':') + 1);
}

std::u16string namespaceOf(IKelDOMXmlElement& element) {
    const std::u16string prefix = prefixOf(element);
    const KelString uri = element.getAttribute(
        KelString(prefix.empty() ? u"xmlns" : u"xmlns:" + prefix.substr(0, prefix.size() - 1)));
    return std::u16string(uri.view());
}

std::string describeError(IKelDOMXml& parser) {
    IKelDOMXmlError* const error = parser.getError();
    return "error " + std::to_string(error->getCode()) + ": " + kelhost::toUtf8(error->getMessage());
}

std::string StopWatch::elapsed() const {
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start_;
    return fixed(time.count(), "ms");
}

std::string kilobytes(double sizeInBytes) {
    return fixed(sizeInBytes / 1000, "kB");
}

}  // namespace demo
